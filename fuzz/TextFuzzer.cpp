// Feeds arbitrary bytes to the parser of the type that --type names: it refuses them with a ModelError, or gives a
// value that prints and reads back as itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string_view>

#include "hw/FilterRegisters.h"
#include "model/ShadowAcl.h"

namespace {

// Objects that the references in the corpus mean: Kestrix::IpAcl#1(i(ipv4,in)) and Kestrix::MacAcl#2(m(mac,in)).
const auto ipAcl = Platform::make<Kestrix::IpAcl>(Platform::AclKey{"i", Acl::AclType::ipv4, Acl::AclDirection::in});
const auto macAcl = Platform::make<Kestrix::MacAcl>(Platform::AclKey{"m", Acl::AclType::mac, Acl::AclDirection::in});

template <class T>
std::optional<T> read(std::string_view text) {
  try {
    return Platform::fromText<T>(text);
  } catch (const Platform::ModelError&) {
    return {};
  }
}
template <class T>
bool isSound(std::string_view text) {
  const auto value = read<T>(text);
  return !value || read<T>(fmt::format("{}", *value)) == value;
}

bool (*isSoundAsType)(std::string_view) = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  const std::map<std::string_view, bool (*)(std::string_view)> types{
      {"AclAddrWithMask", isSound<Kestrix::AclAddrWithMask>},
      {"AclRule", isSound<Kestrix::AclRule>},
      {"FilterRuleRegisters", isSound<Kestrix::FilterRuleRegisters>},
      {"Acl", isSound<Kestrix::ShadowAcl::Acl>},
      {"AclKey", isSound<Platform::AclKey>},
      {"IpAddrWithFullMask", isSound<Platform::IpAddrWithFullMask>},
      {"EthAddrWithMask", isSound<Platform::EthAddrWithMask>},
      {"uint64", isSound<uint64_t>},
      {"AclType", isSound<Acl::AclType>},
      {"SrcOrDst", isSound<Kestrix::SrcOrDst>},
      {"Reference", isSound<Platform::Ptr<Kestrix::BaseAcl>>},
  };
  for (int k = 1; k < *argc; ++k) {
    const std::string_view argument = (*argv)[k], option = "--type=";
    if (argument.starts_with(option)) isSoundAsType = types.at(argument.substr(option.size()));
  }
  return isSoundAsType == nullptr || ipAcl->reference().empty() || macAcl->reference().empty() ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (!isSoundAsType({reinterpret_cast<const char*>(data), size})) std::abort();
  return 0;
}
