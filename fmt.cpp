#include <fmt/format.h>
int main(){}
