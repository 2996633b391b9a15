#include <gmock/gmock.h>

#include "platform/acl/AclKey.h"
#include "platform/network/EthAddr.h"
#include "platform/runtime/Trace.h"

namespace Platform {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

template <class T>
void expectText(const std::vector<std::string>& good, const std::vector<std::string>& bad) {
  for (const std::string& text : good) EXPECT_EQ(fmt::format("{}", fromText<T>(text)), text);
  for (const std::string& text : bad) {
    // A NUL ends what() early, and a part of a composite is quoted alone.
    const bool isWhole = text.find('\0') == text.npos && text.find('/') == text.npos;
    EXPECT_THAT([&] { fromText<T>(text); },
                ThrowsMessage<RangeError>(HasSubstr(isWhole ? fmt::format("\"{}\"", text) : "\"")));
  }
}

TEST(Text, ReadsBackWhatItPrintsAndQuotesWhatItRefuses) {
  expectText<bool>({"true", "false"}, {"", "1", "True", "true "});
  expectText<uint8_t>({"0", "255"}, {"", "256", "-1", "+1", " 1", "1 ", "0x1", "99999999999999999999"});
  expectText<UniqueId>({"0", "18446744073709551615"}, {"18446744073709551616"});
  expectText<IpProto>({"0", "17"}, {"256", "tcp"});
  expectText<IpAddr>({"0.0.0.0", "255.254.1.0"},
                     {"1.2.3", "1.2.3.256", "1.2.3.4 ", "01.2.3.4", std::string("1.2.3.4\0", 8)});
  expectText<IpAddrWithFullMask>({"10.0.0.1/255.0.255.0"}, {"10.0.0.1", "10.0.0.1/"});
  expectText<EthAddr>({"00:11:aa:ff:00:01"},
                      {"0:11:aa:ff:00:01", "00-11-aa-ff-00-01", "00:11:aa:ff:00:0g", "00:11:aa:ff:00:011"});
  expectText<EthAddrWithMask>({"00:11:aa:ff:00:01/ff:ff:00:00:00:00"}, {"00:11:aa:ff:00:01"});
  expectText<Acl::AclType>({"ipv4", "ipv6", "mac", "3", "255"}, {"", "IPV4", "2", "256", "+3"});
  EXPECT_THAT([] { fromText<EthAddrWithMask>("00:11:aa:ff:00:01"); },
              ThrowsMessage<RangeError>("\"00:11:aa:ff:00:01\" has no mask: address/mask is wanted"));
  EXPECT_LT(UniqueId(1), UniqueId(2));
  const std::string most(80, 'x');
  EXPECT_THAT([&] { fromText<bool>(most + "x"); }, ThrowsMessage<RangeError>(HasSubstr('"' + most + "\"...")));
  EXPECT_EQ(fmt::format("{} {}", static_cast<Acl::AclType>(9),
                        AclKey{"a", Acl::AclType::mac, Acl::AclDirection::out, 2, true}),
            "9 a(mac,out,2,dynamic)");
}

struct Costly {
  using TextForm = void;
  std::string toText() const { return ++*formatted, "text"; }
  int* formatted;
};

TEST(Trace, FormatsOnlyEnabledLevelsAndCarriesEveryField) {
  TraceHandle handle("Handle");
  const TraceScope trace(handle, "File", "Class", "operation");
  int formatted = 0;
  std::vector<std::string> lines;
  handle.sinkIs([&](const TraceRecord& r) {
    lines.push_back(
        fmt::format("{} {} {} {} {} {} {}", r.handle, r.level, r.file, r.line, r.className, r.operation, r.message));
    handle.sinkIs({});  // Replaces itself while it is called.
  });
  handle.levelIs(kTraceDecision);
  trace.level6("{}", Costly{&formatted});
  EXPECT_EQ(formatted, 0);
  const int line = __LINE__ + 1;
  trace.level5("a {}", Costly{&formatted});
  trace.failure("dropped");
  handle.levelIs(-1);
  handle.sinkIs([](const TraceRecord&) { throw 1; });
  EXPECT_DEATH(trace.failure("always on"), "terminate");
  EXPECT_THAT(lines, testing::ElementsAre(fmt::format("Handle 5 File {} Class operation a text", line)));
}

}  // namespace
}  // namespace Platform
