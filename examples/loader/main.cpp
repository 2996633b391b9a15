// Loads the library when it runs, by its SONAME, finds the two factories and builds a helper. What is called on it is
// virtual or inline: an agent that needs more of the library links it, as the example beside this one.
#include <dlfcn.h>

#include <cstdio>

#include <fmt/format.h>

#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"

namespace {

using Platform::Ptr, Platform::make;

constexpr char kLibrary[] = "libkestrix_acl.so.0.2";
// The factories' symbols, as the C++ ABI spells their parameters.
constexpr char kHelperFactory[] =
    "_ZN7Kestrix16aclHelperFactoryERKN5boost13intrusive_ptrIN8Platform15TransportMethodEEE"
    "RKNS_19IntfIdToPortGroupIdEhhRKNS1_IKNS2_15VelCommonSmDataEEE";
constexpr char kReactorFactory[] =
    "_ZN7Kestrix32aclHelperInstanceConfigSmFactoryERKN5boost13intrusive_ptrIKN8Platform14InstanceConfigEEE"
    "RKNS1_INS2_14InstanceStatusEEERKNS1_IKNS2_15VelCommonSmDataEEERKNS1_INS_9AclHelperEEE";

struct NoRegisters final : Platform::TransportMethod {
  uint32_t regRead(std::string_view) noexcept override { return 0; }
  void regWrite(std::string_view, uint32_t) noexcept override {}
};

// Null, with a message, when the library has no such function.
template <class Function>
Function* find(void* library, const char* symbol) {
  auto* const function = reinterpret_cast<Function*>(dlsym(library, symbol));
  if (function == nullptr) fmt::print(stderr, "{}\n", dlerror());
  return function;
}

}  // namespace

int main() {
  // Never closed: what it made may live to the end.
  void* const library = dlopen(kLibrary, RTLD_NOW);
  if (library == nullptr) {
    fmt::print(stderr, "{}\n", dlerror());
    return 1;
  }
  const auto makeHelper = find<decltype(Kestrix::aclHelperFactory)>(library, kHelperFactory);
  const auto makeReactor = find<decltype(Kestrix::aclHelperInstanceConfigSmFactory)>(library, kReactorFactory);
  if (makeHelper == nullptr || makeReactor == nullptr) return 1;

  const auto vcsd = make<Platform::VelCommonSmData>();
  const Ptr<Kestrix::AclHelper> helper = makeHelper(make<NoRegisters>(), {}, /*inRules=*/4, /*outRules=*/8, vcsd);
  helper->hwInit();
  const auto reactor = makeReactor(make<Platform::InstanceConfig>(), make<Platform::InstanceStatus>(), vcsd, helper);
  fmt::print("{}: a helper with {} ingress and {} egress rules, and a reactor that {} the drop delay\n", kLibrary,
             helper->inRules(), helper->outRules(), reactor->hasNotificationActive() ? "follows" : "ignores");
  return 0;
}
