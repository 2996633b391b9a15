// Feeds arbitrary bytes to the parser of one type, KESTRIX_FUZZED: it refuses them with a ModelError, or gives a value
// that prints and reads back as itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "hw/FilterRegisters.h"
#include "model/ShadowAcl.h"

namespace {

// The objects that the references in the corpus mean: Kestrix::IpAcl#1(i(ipv4,in)) and Kestrix::MacAcl#2(m(mac,in)).
const auto ipAcl = Platform::make<Kestrix::IpAcl>(Platform::AclKey{"i", Acl::AclType::ipv4, Acl::AclDirection::in});
const auto macAcl = Platform::make<Kestrix::MacAcl>(Platform::AclKey{"m", Acl::AclType::mac, Acl::AclDirection::in});

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return ipAcl->reference().empty() || macAcl->reference().empty() ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto read = [](std::string_view from) -> std::optional<KESTRIX_FUZZED> {
    try {
      return Platform::fromText<KESTRIX_FUZZED>(from);
    } catch (const Platform::ModelError&) {
      return {};
    }
  };
  const auto value = read(text);
  if (value && !(read(fmt::format("{}", *value)) == value)) std::abort();
  return 0;
}
