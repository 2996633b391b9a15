#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"
int main(){}
