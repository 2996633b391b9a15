// What an agent that loads the library when it runs starts from: one function with a name that C++ does not change.
//
//   void* library = dlopen("libkestrix_acl.so.0.2", RTLD_NOW);
//   auto* entryPoints = reinterpret_cast<decltype(&kestrixAclEntryPoints)>(dlsym(library, "kestrixAclEntryPoints"));
//   Ptr<AclHelper> helper = entryPoints()->aclHelperFactory(transport, intfMap, 24, 24, vcsd);
#pragma once

#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "model/AclTrace.h"
#include "platform/runtime/Export.h"

namespace Kestrix {

// The functions that make everything else reachable. Those to come follow the last one. None is ever null.
struct EntryPoints {
  // Makes the helper.
  decltype(&Kestrix::aclHelperFactory) aclHelperFactory;
  // Makes the reactor.
  decltype(&Kestrix::aclHelperInstanceConfigSmFactory) aclHelperInstanceConfigSmFactory;
  // The handle of the library's traces.
  decltype(&Kestrix::aclTraceHandle) aclTraceHandle;
};

}  // namespace Kestrix

// The library's functions, for as long as it is loaded. For dlsym; an agent that links the library calls them directly.
extern "C" KESTRIX_API const Kestrix::EntryPoints* kestrixAclEntryPoints();
