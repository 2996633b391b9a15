#include "instance/EntryPoints.h"

const Kestrix::EntryPoints* kestrixAclEntryPoints() {
  static constexpr Kestrix::EntryPoints kEntryPoints{
      .aclHelperFactory = &Kestrix::aclHelperFactory,
      .aclHelperInstanceConfigSmFactory = &Kestrix::aclHelperInstanceConfigSmFactory,
      .aclTraceHandle = &Kestrix::aclTraceHandle,
  };
  return &kEntryPoints;
}
