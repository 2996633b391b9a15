// Feeds arbitrary bytes as a frame, and as a capture of frames: what is read of a frame reads back from its text, and
// the classifier decides it as decide() does.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <fmt/format.h>
#include <pcap/dlt.h>

#include "capture/CaptureFile.h"
#include "verdict/Classifier.h"
#include "verdict/PacketText.h"

namespace {

using namespace Sim;

void require(bool holds) {
  if (!holds) std::abort();
}

// ARP is denied, a host and a port are, and the rest is permitted.
struct Policy {
  FilterDump filter{.intf = Platform::IntfId("p"),
                    .values = {0x743, 0x009, 0b111, 0b101},
                    .slots = {{0, {0xFFFF, 0, 0xFFFF, 0xC0000201}}, {1, {0, 0, 443, 0xC0000202}}, {2, {}}}};
  AclConfiguration acl{
      "a",
      "ipv4-acl-type",
      Acl::AclType::ipv4,
      {{"b", IpRule{{Acl::Action::permit, {Platform::IpProto(kTcpNumber), {}, {}}}, {}, {443, 443, 443}, 0}}}};
  const AclConfiguration* acls[1] = {&acl};
  Classifier classifier{filter, acls, {}};
};

void decideFrame(const CapturedFrame& frame, const LinkType& linkType) {
  static const Policy& policy = *new Policy;
  const CapturedPacket read = readFrame(frame, linkType);
  require(read.unknown.isEmpty() == (read.lack == Lack::none));
  std::string fault;
  const auto again = readPacket(read.packet.toText(), fault);
  require(again.has_value());
  require(!read.unknown.isEmpty() || *again == read.packet);
  Classifier::Found found;
  const PacketWords known = knownBits(read.unknown);
  if (!policy.classifier.classify(wordsOf(read.packet), &known, found)) return require(!read.unknown.isEmpty());
  const Judgement judgement{decide(policy.acls, read.packet, {}), decide(policy.filter, read.packet, {})};
  require(policy.classifier.judgement(found.data()) == judgement);
}

void readCapture(const uint8_t* data, size_t size) {
  const int file = ::memfd_create("capture", 0);
  if (file == -1 || ::write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
  const auto [source, fault] = openCapture(fmt::format("/proc/self/fd/{}", file), -1);
  CapturedFrame frame;
  while (source != nullptr && source->next(frame) == FrameSource::Next::frame) decideFrame(frame, source->linkType());
  ::close(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  if (data[0] >= 8) {
    readCapture(data, size);
    return 0;
  }
  constexpr int kTypes[] = {DLT_EN10MB,       DLT_DSA_TAG_BRCM, DLT_DSA_TAG_BRCM_PREPEND,    DLT_DSA_TAG_DSA,
                            DLT_DSA_TAG_EDSA, DLT_NETANALYZER,  DLT_NETANALYZER_TRANSPARENT, DLT_ETHERNET_MPACKET};
  decideFrame({{data + 1, size - 1}, size - 1 + size % 3 * 40}, *linkTypeOf(kTypes[data[0]]));
  return 0;
}
