#include "hw/FilterRegisters.h"
#include "platform/object/Describe.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

// A value type that nothing but these lines knows.
class Sample {
  KESTRIX_VALUE(Sample, "Test::Sample");
  KESTRIX_SETTABLE(std::optional<uint32_t>, first, {});
  KESTRIX_FIXED(AclAddrWithMask, address);
  KESTRIX_SETTABLE(std::optional<SrcOrDst>, side, {});
  KESTRIX_SETTABLE(Ptr<MacAcl>, acl, {});
  KESTRIX_VIEW(bool, hasAcl, acl() != nullptr);

 public:
  explicit Sample(AclAddrWithMask address) : address_(address) {}
};
KESTRIX_DEFINE_VALUE(Sample)

namespace {

// Of an agent: whether and how it prints is the agent's.
struct Foreign {
  std::string toText() const;
};
static_assert(!fmt::is_formattable<Foreign>::value && fmt::is_formattable<Sample>::value);

using Platform::fromText, Platform::RangeError;

const std::string kAddr = "Value('Kestrix::AclAddrWithMask', ip=10.0.0.0/0.255.255.255)";
const std::string kMacAddr = "Value('Kestrix::AclAddrWithMask', mac=00:11:aa:ff:00:01/00:00:00:00:00:ff)";
const std::string kRule =
    "Value('Kestrix::AclRule', ruleKey=7, addrWithMask=" + kAddr + ", action=permit, port=53, tcp=false, udp=true)";
const std::string kSlot =
    "Value('Kestrix::FilterRuleRegisters', ruleKey=255, mask_high=65535, mask_low=4294967295, addr_high=1, addr_low=0)";

template <class T>
void expectReadsBack(const std::string& text) {
  EXPECT_EQ(fmt::format("{}", fromText<T>(text)), text);
  EXPECT_THROW(fromText<T>(text + ")"), RangeError);
}

TEST(TextForm, ReadsBackWhatItPrints) {
  const auto ip = make<IpAcl>(AclKey{"a), mac=(1", kIpv4, kIn});
  expectReadsBack<AclAddrWithMask>(kAddr);
  expectReadsBack<AclAddrWithMask>(kMacAddr);
  expectReadsBack<AclRule>(kRule);
  expectReadsBack<FilterRuleRegisters>(kSlot);
  expectReadsBack<ShadowAcl::Acl>("Value('Kestrix::ShadowAcl::Acl', mac=null)");
  expectReadsBack<ShadowAcl::Acl>(fmt::format("Value('Kestrix::ShadowAcl::Acl', ip={})", ip));
  expectReadsBack<SrcOrDst>("destination");
  for (const char* key : {"a(mac,out)", "a(1)(ipv4,7,3)", "(ipv6,in,4294967295,dynamic)", "a,b)(9,in,0,dynamic)"}) {
    EXPECT_EQ(fromText<AclKey>(key).toText(), key);
  }
  for (const char* key : {"", "a", "a(mac)", "a(mac,out", "a(mac,out,)", "a(mac,out,1,)", "a(mac,out)b", "a(2,out)"}) {
    EXPECT_THAT([&] { fromText<AclKey>(key); },
                ThrowsMessage<RangeError>(testing::StartsWith(fmt::format("\"{}\" is not the key of an ACL: ", key))));
  }

  Sample sample{AclAddrWithMask{}};
  EXPECT_EQ(fromText<Sample>(sample.toText()), sample);
  sample.firstIs(3);
  sample.sideIs(SrcOrDst::source);
  sample.aclIs(make<MacAcl>(AclKey{}));
  EXPECT_EQ(fromText<Sample>(sample.toText()), sample);
}

TEST(TextForm, OfWhatIsPrintedOnly) {
  IntfIdToPortGroupId map;
  std::ostringstream out;
  out << map << (map ? "?" : "") << (FilterRegisters() ? "?" : "");
  map.portGroupMapIs(IntfId("e1"), 3);
  FilterRegisters registers;
  registers.enableIs(1);
  registers.ruleRegistersIs(FilterRuleRegisters());
  EXPECT_TRUE(map && registers);
  out << map << registers << SrcOrDst{7} << stringValue(SrcOrDst::source);
  EXPECT_EQ(out.str(),
            "Value('Kestrix::IntfIdToPortGroupId', portGroupMap={})"
            "Value('Kestrix::IntfIdToPortGroupId', portGroupMap={e1: 3})"
            "Value('Kestrix::FilterRegisters', enable=1, action=0, tcp=0, udp=0, ruleRegisters={"
            "Value('Kestrix::FilterRuleRegisters', ruleKey=0, mask_high=0, mask_low=0, addr_high=0, addr_low=0)})"
            "7source");
}

TEST(TextForm, RefusalsSayWhere) {
  const auto mac = make<MacAcl>(AclKey{"m", kMac, kIn});
  const std::string reference = mac->reference();
  const std::string plain = reference.substr(0, reference.find('('));
  std::string dead = make<IpAcl>(AclKey{})->reference();
  const auto next = make<IpAcl>(AclKey{});
  EXPECT_NE(next->reference(), dead) << "a number is not given again";
  const std::string acl = "Value('Kestrix::ShadowAcl::Acl', ip=";
  const auto replaced = [](std::string text, std::string_view what, std::string_view with) {
    return text.replace(text.find(what), what.size(), with);
  };
  const struct {
    std::string text, message;
  } rows[] = {
      {"Value('Kestrix::AclAddrWithMask', ipv4=1.2.3.4/0.0.0.0)",
       "Invalid string rep for AclAddrWithMask:  unknown alternative ipv4"},
      {"Value('Kestrix::AclAddrWithMask', mac)", "Invalid string rep for AclAddrWithMask:  unknown alternative mac)"},
      {"Value('Kestrix::AclAddrWithMask', ip", "Invalid string rep for AclAddrWithMask:  unknown alternative ip"},
      {"Value('Kestrix::AclAddrWithMask', mac=1.2.3.4/0.0.0.0)", "mac: \"1.2.3.4\" is not a MAC address"},
      {"Value('Kestrix::AclAddrWithMask')", "expected the end at position 32, not \")\""},
      {"Value('Kestrix::AclAddrWithMask',ip=", "expected \", \" at position 32, not \",ip=\""},
      {replaced(kRule, "ruleKey=7", "ruleKey=256"), "ruleKey: \"256\" is not a number from 0 to 255"},
      {replaced(kRule, "10.0.0.0", "10"), "addrWithMask: ip: \"10\" is not an IPv4 address"},
      {replaced(kRule, "permit", "0"), "action: \"0\" is none of permit, deny"},
      {replaced(kRule, ", tcp=false", ""), "expected \", tcp=\" at position 134, not \", udp=true)\""},
      {replaced(kRule, "true)", "true"), "expected \")\" at position 155, not the end"},
      {replaced(kSlot, "65535", "65536"), "mask_high: \"65536\" is not a number from 0 to 65535"},
      {"Value('Kestrix::ShadowAcl::Acl', base=null)", "Invalid string rep for Acl:  unknown alternative base"},
      {acl + reference + ")", fmt::format("ip: cannot convert {} to Kestrix::IpAcl", reference)},
      {acl + dead + ")", fmt::format("ip: there is no object \"{}\"", dead.erase(dead.find('(')))},
      {acl + replaced(plain, "Mac", "Ip") + ")",
       fmt::format("ip: there is no object \"{}\"", replaced(plain, "Mac", "Ip"))},
      {acl + plain + "(n(mac,in)))",
       fmt::format("ip: expected \"(m(mac,in))\" at position {}, not \"(n(mac,in)))\"", (acl + plain).size())},
      {acl + "Kestrix::IpAcl#-1)", "ip: \"-1\" is not a number from 0 to 18446744073709551615"},
      {acl + "edge)", "ip: \"edge\" is not a reference to an object"},
  };
  for (const auto& [text, message] : rows) {
    const auto read = [&shown = text] {
      if (shown.starts_with("Value('Kestrix::AclAddr")) return (void)fromText<AclAddrWithMask>(shown);
      if (shown.starts_with("Value('Kestrix::AclRule")) return (void)fromText<AclRule>(shown);
      if (shown.starts_with("Value('Kestrix::Filter")) return (void)fromText<FilterRuleRegisters>(shown);
      (void)fromText<ShadowAcl::Acl>(shown);
    };
    EXPECT_THAT(read, ThrowsMessage<RangeError>(message)) << text;
  }
  EXPECT_EQ(fromText<AclAddrWithMask>("Value('Kestrix::AclAddrWithMask'"), AclAddrWithMask());
  EXPECT_EQ(fromText<Ptr<BaseAcl>>(plain), mac) << "the key may be left out, and the class be a base";
}

TEST(TextForm, AReferenceDoesNotResolveWhileItsObjectIsMadeOrDestroyed) {
  struct Asking : BaseAcl {
    Asking() : BaseAcl(AclKey{}) { expectDead(); }
    ~Asking() override { expectDead(); }
    void expectDead() { EXPECT_THROW(fromText<Ptr<BaseAcl>>(reference()), RangeError); }
  };
  const auto asking = make<Asking>();
  EXPECT_EQ(fromText<Ptr<BaseAcl>>(asking->reference()), asking);
}

}  // namespace
}  // namespace Kestrix::Test
