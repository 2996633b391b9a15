// A helper on a test rig: a record of everything that leaves the library, and short ways to drive it.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "helper/AclHelper.h"
#include "model/AclTrace.h"
#include "platform/object/ByName.h"

namespace Kestrix::Test {

using Platform::AclCreateError, Platform::AclData, Platform::AclKey, Platform::String;
using Platform::IntfId, Platform::Ptr, Platform::make;

inline constexpr auto kNoError = AclCreateError::noError, kNotSupported = AclCreateError::notSupported,
                      kHardwareFailure = AclCreateError::hardwareFailure;
inline constexpr auto kIn = Acl::AclDirection::in, kOut = Acl::AclDirection::out, kNeither = Acl::AclDirection{2};
inline constexpr auto kIpv4 = Acl::AclType::ipv4, kIpv6 = Acl::AclType::ipv6, kMac = Acl::AclType::mac;
inline constexpr auto kPermit = Acl::Action::permit, kDeny = Acl::Action::deny, kUnknown = Acl::Action{3};

using Lines = std::vector<std::string>;

// How many allocations succeed before one fails, in a test that makes them fail; below 0, all do. The rig's objects,
// which the library calls, are spared.
inline long allocationsLeft = -1;
struct Spared {
  Spared() : left(std::exchange(allocationsLeft, -1)) {}
  ~Spared() { allocationsLeft = left; }
  long left;
};

// Remembers every access: a write as "<path> <value>". An access to a filter or port whose path contains
// `fails`, or whose number from 0 is in `failAt`, sets the error flag; such a write leaves its register as it was.
struct FakeTransport : Platform::TransportMethod {
  explicit FakeTransport(Lines& record) : log(record) {}
  uint32_t regRead(std::string_view path) noexcept override {
    const Spared spared;
    log.push_back(fmt::format("{} read", path));
    isFailing(path);
    accessed();
    return readValue;
  }
  void regWrite(std::string_view path, uint32_t value) noexcept override {
    const Spared spared;
    log.push_back(fmt::format("{} {:#x}", path, value));
    if (!isFailing(path)) registers[std::string(path)] = value;
    accessed();
  }
  void accessed() const {
    const auto calling = onAccess;  // A copy: it may replace itself.
    calling();
  }
  bool isFailing(std::string_view path) {
    const bool failing =
        failAt.contains(accesses++) || (!fails.empty() && path.substr(0, path.find("/rule")).find(fails) != path.npos);
    if (failing) error().errorIs(true);
    return failing;
  }
  Lines& log;
  std::string fails;
  std::set<size_t> failAt;
  size_t accesses = 0;
  std::map<std::string, uint32_t> registers;
  uint32_t readValue = 0;
  std::function<void()> onAccess = [] {};
};

// Remembers the calls to the framework, errors as numbers. `onCall` may call the helper again.
struct RecordingListener : VelHelper::AclStatusListener {
  explicit RecordingListener(Lines& record) : log(record) {}
  void aclIntfBlocked(IntfId intf, bool on) noexcept override { told("blocked {} {}", intf, on); }
  void aclStatusUpdate(const AclKey& k, AclCreateError e) noexcept override { told("status {} {}", k, int(e)); }
  void unitErrorPublished(const String& unit, bool on) noexcept override { told("publish {} {}", unit, on); }
  void unitErrorChanged(const String& u, AclCreateError e) noexcept override { told("unitError {} {}", u, int(e)); }
  void dirtyChanged(bool dirty) noexcept override { told("dirty {}", dirty); }
  template <class... Args>
  void told(fmt::format_string<const Args&...> call, const Args&... args) {
    const Spared spared;
    log.push_back(fmt::format(call, args...));
    const auto calling = onCall;  // A copy: it may replace itself.
    calling(std::string(log.back()));
  }
  Lines& log;
  std::function<void(const std::string& call)> onCall = [](const std::string&) {};
};

struct RuleFields {
  uint8_t key = 0;
  Acl::Action action = kDeny;
  const char *ip = "0.0.0.0/0.0.0.0", *mac = nullptr;  // One of them: address and wildcard.
  uint16_t port = 0;
  bool tcp = false, udp = false;
};
inline AclRule aRule(const RuleFields& fields) {
  AclRule rule(fields.key);
  rule.addrWithMaskIs(fields.mac ? AclAddrWithMask(Platform::EthAddrWithMask::fromText(fields.mac))
                                 : AclAddrWithMask(Platform::IpAddrWithFullMask::fromText(fields.ip)));
  rule.actionIs(fields.action);
  rule.portIs(fields.port);
  rule.tcpIs(fields.tcp);
  rule.udpIs(fields.udp);
  return rule;
}

template <class T>
std::string textOr(const std::optional<T>& value) {
  return value ? fmt::format("{}", *value) : "";
}

struct SubruleFields {
  Acl::Action action = kPermit;
  uint8_t proto = 0;
  const char *src = "0.0.0.0/0.0.0.0", *dst = "0.0.0.0/0.0.0.0";  // Address and mask of the bits compared.
  uint16_t srcPort = 0, dstPort = 0, srcLow = 0, srcHigh = 0, dstLow = 0, dstHigh = 0;
  std::array<uint16_t, 4> ipLen{};
};

inline constexpr char kAnyMac[] = "00:00:00:00:00:00/00:00:00:00:00:00";
struct MacFields {
  Acl::Action action = kPermit;
  uint32_t ethType = 0;
  const char *src = kAnyMac, *dst = kAnyMac;  // Address and mask of the bits compared.
};

// A helper with interfaces e1, e2, e3: core 1, 1, 2; port groups 4, 5, 6; empty MAC-type filters in both directions.
struct Rig {
  Rig() {
    trace.sinkIs([this](const Platform::TraceRecord& r) {
      const Spared spared;
      log.push_back(fmt::format("{} {}: {}", r.level, r.operation, r.message));
      if (r.className != "AclHelper") log.back().insert(2, fmt::format("{}::", r.className));
      const auto from = fmt::format("{} {}", r.handle, r.file);
      if (from != "KestrixAclHelper KestrixAclHelper") log.back() += " from " + from;
      const auto calling = onTrace;  // A copy: it may replace itself.
      calling();
    });
    for (const IntfId intf : {e1, e2, e3}) Platform::DownstreamIntfId::coreIdIs(intf, intf == e3 ? 2 : 1);
    build(2, 2);
  }
  ~Rig() { trace.sinkIs({}), trace.levelIs(0); }
  void build(uint8_t inRules, uint8_t outRules) {
    IntfIdToPortGroupId intfMap;
    intfMap.portGroupMapIs(e1, 4);
    intfMap.portGroupMapIs(e2, 5);
    intfMap.portGroupMapIs(e3, 6);
    helper = aclHelperFactory(transport, intfMap, inRules, outRules, vcsd);
    helper->listenerIs(listener);
    for (const IntfId intf : {e1, e2, e3})
      for (const auto d : {kIn, kOut}) helper->shadowFilters(d)->shadowFilterIs(intf, kMac, helper->slotCount(d));
  }

  // The lines with `what` of everything that left the library since the last call.
  Lines taken(std::string_view what = "") {
    std::erase_if(log, [&](const std::string& line) { return line.find(what) == line.npos; });
    return std::exchange(log, {});
  }
  AclCreateError translate(const Ptr<AclData>& data, const SubruleFields& f) {
    using Ip = Platform::IpAddrWithFullMask;
    const Acl::IpFilter match{Platform::IpProto(f.proto), Ip::fromText(f.src), Ip::fromText(f.dst)};
    // Arguments that do not count carry values that would show.
    return helper->createIpAclSubrule(kMac, {f.action, match}, {}, data, 3, 4, f.srcPort, 55, f.dstPort, 66, f.srcLow,
                                      f.srcHigh, f.dstLow, f.dstHigh, f.ipLen[0], f.ipLen[1], f.ipLen[2], f.ipLen[3], 8,
                                      true, 64, 46);
  }
  AclCreateError translateMac(const Ptr<AclData>& data, const MacFields& f) {
    using Mac = Platform::EthAddrWithMask;
    const auto src = Mac::fromText(f.src), dst = Mac::fromText(f.dst);
    return helper->createMacAclRule({f.action, {f.ethType, src.addr, src.mask, dst.addr, dst.mask}},
                                    Platform::UniqueId(7), data, 3);
  }
  AclCreateError finish(const Ptr<AclData>& data) { return helper->createFinalAclRule(kMac, data, 9); }
  Ptr<ShadowFilter> filter(IntfId intf) { return helper->outShadowFilter()->shadowFilter(intf); }

  Lines log;
  std::function<void()> onTrace = [] {};
  Ptr<AclData> acl = make<AclData>(AclKey{"edge", kIpv4, kOut});
  Ptr<AclData> macAcl = make<AclData>(AclKey{"guard", kMac, kOut});
  const IntfId e1{"e1"}, e2{"e2"}, e3{"e3"};
  Platform::TraceHandle& trace = aclTraceHandle();
  const Ptr<FakeTransport> transport = make<FakeTransport>(log);
  const Ptr<Platform::VelCommonSmData> vcsd = make<Platform::VelCommonSmData>();
  const Ptr<RecordingListener> listener = make<RecordingListener>(log);
  Ptr<AclHelper> helper;
};

}  // namespace Kestrix::Test
