// Loads the library when it runs, by its SONAME, finds its entry points and builds a helper. What is called on it is
// virtual or inline: an agent that needs more of the library links it, as the example beside this one.
#include <dlfcn.h>

#include <cstdio>

#include <fmt/format.h>

#include "instance/EntryPoints.h"

namespace {

using Platform::Ptr, Platform::make;

constexpr char kLibrary[] = "libkestrix_acl.so.0.2";

struct NoRegisters final : Platform::TransportMethod {
  uint32_t regRead(std::string_view) noexcept override { return 0; }
  void regWrite(std::string_view, uint32_t) noexcept override {}
};

// Null, with a message, when there is no such library, or none with entry points. It is never closed: what it made may
// live to the end.
const Kestrix::EntryPoints* load() {
  void* const library = dlopen(kLibrary, RTLD_NOW);
  void* const symbol = library == nullptr ? nullptr : dlsym(library, "kestrixAclEntryPoints");
  if (symbol != nullptr) return reinterpret_cast<decltype(&kestrixAclEntryPoints)>(symbol)();
  fmt::print(stderr, "{}\n", dlerror());
  return nullptr;
}

}  // namespace

int main() {
  const Kestrix::EntryPoints* const library = load();
  if (library == nullptr) return 1;

  const auto vcsd = make<Platform::VelCommonSmData>();
  const Ptr<Kestrix::AclHelper> helper =
      library->aclHelperFactory(make<NoRegisters>(), {}, /*inRules=*/4, /*outRules=*/8, vcsd);
  helper->hwInit();
  const auto reactor = library->aclHelperInstanceConfigSmFactory(make<Platform::InstanceConfig>(),
                                                                 make<Platform::InstanceStatus>(), vcsd, helper);
  fmt::print("{}: a helper with {} ingress and {} egress rules, and a reactor that {} the drop delay\n", kLibrary,
             helper->inRules(), helper->outRules(), reactor->hasNotificationActive() ? "follows" : "ignores");
  return 0;
}
