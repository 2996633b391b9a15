#include <map>

#include "hw/FilterRegisters.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "platform/object/ByName.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

using Platform::Arguments, Platform::AttributeRow, Platform::byName, Platform::ByName, Platform::Kind,
    Platform::ModelType;
using Platform::AttributeKindError, Platform::WrongTypeError, Platform::RangeError;
using testing::HasSubstr, testing::StartsWith;

const std::string kRule7 =
    "Value('Kestrix::AclRule', ruleKey=7, addrWithMask=Value('Kestrix::AclAddrWithMask', ip=10.0.0.0/0.255.255.255), "
    "action=permit, port=53, tcp=false, udp=true)";

struct ByNameTest : HelperTest {
  // The value of a scalar; where it is an alternative that is not held, so.
  static std::string textOf(const ByName& object, std::string_view attribute) try {
    return object.read(attribute).toText();
  } catch (const Platform::BadUnionAccessError&) {
    return "not held";
  }

  void expectScalar(const ByName& object, const AttributeRow& row, const std::string& where) const {
    const std::string_view name = row.name;
    if (row.access == Platform::Access::fixed) {
      EXPECT_THAT([&] { object.set(name, object.read(name)); },
                  ThrowsMessage<Platform::FixedAttributeError>(StartsWith(where)));
    } else if (row.access == Platform::Access::readOnly) {
      EXPECT_THAT([&] { object.set(name, object.read(name)); },
                  ThrowsMessage<Platform::ReadOnlyAttributeError>(StartsWith(where)));
    } else if (row.access == Platform::Access::owned) {
      EXPECT_THAT([&] { object.set(name, nullptr); }, ThrowsMessage<AttributeKindError>(StartsWith(where)));
    } else {
      size_t accepted = 0;
      for (const std::string& text : candidates) {
        const std::string before = textOf(object, name);
        try {
          object.set(name, text);
          ++accepted;
          EXPECT_EQ(object.read(name).toText(), text) << where;
          object.set(name, object.read(name));
          EXPECT_EQ(object.read(name).toText(), text) << where;
        } catch (const RangeError& error) {
          EXPECT_THAT(error.what(), StartsWith(where + ": "));
          EXPECT_EQ(textOf(object, name), before) << where << " after " << text;
        }
      }
      EXPECT_TRUE(accepted > 0 && accepted < candidates.size()) << where;
      EXPECT_THAT([&] { object.set(name, 3.5); },
                  ThrowsMessage<WrongTypeError>(StartsWith(where + ": \"3.5\" has another type than ")));
    }
    EXPECT_EQ(row.access == Platform::Access::owned, row.insert != nullptr) << where;
    if (row.insert == nullptr) return;
    const auto child = object.read(name).entity();
    EXPECT_TRUE(child && object.insert(name, {}).entity() == child && object.erase(name).entity() == child) << where;
    EXPECT_EQ(object.read(name).toText(), "null") << where;
    EXPECT_TRUE(object.insert(name, {}).entity()) << where;
    EXPECT_THROW(object.insert(name, {1}), WrongTypeError);
    EXPECT_THROW(object.erase(name, "e1"), WrongTypeError) << "not a member of it";
  }

  void expectCollection(const ByName& object, const AttributeRow& row, const std::string& where) const {
    const std::string_view name = row.name;
    const Arguments& arguments = insertions.at(name);
    const Platform::Value key = arguments.size() == 1 && arguments[0].toText().starts_with("Value") ? 7 : arguments[0];
    const auto insertOne = [&] {
      const std::string entry = object.insert(name, arguments).toText();
      EXPECT_TRUE(object.count(name) == 1 && object.contains(name, key)) << where;
      EXPECT_EQ(object.lookUp(name, key).toText(), entry) << where;
      return entry;
    };
    std::string entry = insertOne();
    EXPECT_EQ(object.insert(name, arguments).toText(), entry) << where << " inserted again";
    size_t visits = 0;
    object.forEach(name, [&](const Platform::Value& visited, const Platform::Value& member) {
      ++visits;
      EXPECT_EQ(visited.toText(), key.toText()) << where;
      EXPECT_EQ(member.toText(), entry) << where;
      object.erase(name, visited);  // Held by `member` from here on.
      EXPECT_NE(object.lookUp(name, visited).toText(), entry) << where;
      EXPECT_FALSE(object.contains(name, visited)) << where;
    });
    EXPECT_EQ(visits, 1u) << where;
    entry = insertOne();
    EXPECT_EQ(object.erase(name, key).toText(), entry) << where;
    EXPECT_NE(object.erase(name, key).toText(), entry) << where << " erased again";
    insertOne();
    object.clear(name);
    for (const Arguments& wrong : {Arguments{}, Arguments(arguments.size(), 3.5), Arguments(5, arguments[0])}) {
      EXPECT_THAT([&] { object.insert(name, wrong); }, ThrowsMessage<WrongTypeError>(StartsWith(where)));
    }
    EXPECT_THAT([&] { object.erase(name); }, ThrowsMessage<WrongTypeError>(StartsWith(where + ": key: ")));
    EXPECT_EQ(object.count(name), 0u) << where;
  }

  const Ptr<IpAcl> ipShadow = make<IpAcl>(AclKey{"i", kIpv4, kIn});
  const Ptr<MacAcl> macShadow = make<MacAcl>(AclKey{"m", kMac, kIn});
  // Every settable attribute takes some of them, and none takes all.
  const Lines candidates = {"true",
                            "3",
                            "absent",
                            "source",
                            "permit",
                            "10.0.0.1/0.255.0.255",
                            "00:11:aa:ff:00:01/ff:ff:00:00:00:00",
                            "Value('Kestrix::AclAddrWithMask', ip=10.0.0.0/0.0.0.0)",
                            fmt::format("Value('Kestrix::ShadowAcl::Acl', mac={})", macShadow),
                            ipShadow->reference(),
                            macShadow->reference(),
                            "null",
                            "4294967296",
                            ""};
  // What every type is constructed from,
  const std::map<std::string_view, Arguments> constructions = {
      {"Kestrix::AclAddrWithMask", {}},
      {"Kestrix::AclRule", {3}},
      {"Kestrix::IntfIdToPortGroupId", {}},
      {"Kestrix::FilterRuleRegisters", {"3"}},
      {"Kestrix::FilterRegisters", {}},
      {"Kestrix::BaseAcl", {acl->key()}},
      {"Kestrix::IpAcl", {"a(ipv4,in)"}},
      {"Kestrix::MacAcl", {macAcl->key()}},
      {"Kestrix::ShadowFilter", {e1, "mac", 8}},
      {"Kestrix::ShadowFilters", {}},
      {"Kestrix::ShadowAcl", {acl->key()}},
      {"Kestrix::ShadowAcl::Acl", {}},
      {"Kestrix::AclHelper", {transport, IntfIdToPortGroupId(), 4, 5, vcsd}},
      {"Kestrix::AclHelperInstanceConfigSm",
       {make<Platform::InstanceConfig>(), make<Platform::InstanceStatus>(), vcsd, helper}},
      {"Test::Sample", {AclAddrWithMask()}}};
  // and every collection given.
  const std::map<std::string_view, Arguments> insertions = {{"rule", {kRule7}},
                                                            {"ruleRegisters", {FilterRuleRegisters(7)}},
                                                            {"portGroupMap", {"e1", 7}},
                                                            {"activeIntf", {e1}},
                                                            {"applyingIntf", {"e1", true}},
                                                            {"deletingIntf", {"e1"}},
                                                            {"errorIntf", {e1, kHardwareFailure}},
                                                            {"allShadowAcl", {acl->key()}},
                                                            {"shadowFilter", {"e1", kMac, 4}}};
};

TEST_F(ByNameTest, EveryAttributeOfEveryTypeDoesWhatItIsDescribedAs) {
  EXPECT_EQ(ModelType::all().size() + (ModelType::find("Test::Sample") == nullptr), constructions.size());
  for (const ModelType* type : ModelType::all()) {
    SCOPED_TRACE(type->name);
    EXPECT_EQ(ModelType::find(type->name), type);
    Platform::Value made = type->make(constructions.at(type->name));
    const Ptr<Platform::Entity> entity = made.entity();
    const ByName object = entity ? byName(*entity) : made.attributes().value();
    EXPECT_TRUE(object.type().isA(type->name) && !object.type().isA("Kestrix::Acl"));
    for (const Arguments& wrong : {Arguments(7, "e1"), Arguments(constructions.at(type->name).size(), 3.5)}) {
      if (wrong.empty()) continue;
      EXPECT_THAT([&] { type->make(wrong); }, ThrowsMessage<WrongTypeError>(StartsWith(std::string(type->name))));
    }
    EXPECT_THAT([&] { object.read("rules\xff"); }, ThrowsMessage<Platform::UnknownAttributeError>(
                                                       fmt::format("{} has no attribute \"rules\\xff\"", type->name)));
    for (const AttributeRow& row : type->attributes) {
      const std::string where = fmt::format("{}.{}", type->name, row.name);
      const bool isScalar = row.kind == Kind::scalar, isCollection = row.kind == Kind::collection;
      if (isScalar) expectScalar(object, row, where);
      if (isCollection) expectCollection(object, row, where);
      const std::pair<bool, std::function<void()>> uses[] = {
          {isScalar, [&] { object.read(row.name); }},
          {isScalar, [&] { object.set(row.name, "true"); }},
          {isCollection, [&] { object.lookUp(row.name, "e1"); }},
          {isCollection, [&] { object.contains(row.name, "e1"); }},
          {isCollection, [&] { object.count(row.name); }},
          {isCollection, [&] { object.forEach(row.name, {}); }},
          {isCollection, [&] { object.clear(row.name); }},
          {isCollection || row.insert != nullptr, [&] { object.insert(row.name, {}); }},
          {isCollection || row.erase != nullptr, [&] { object.erase(row.name, "e1"); }},
          {row.kind == Kind::operation, [&] { object.call(row.name, {}); }}};
      for (const auto& [isPossible, use] : uses) {
        if (isPossible) continue;
        EXPECT_THAT(use, ThrowsMessage<AttributeKindError>(StartsWith(where)));
      }
    }
  }
  EXPECT_EQ(ModelType::find("Kestrix::Filter"), nullptr);
  EXPECT_TRUE(ipShadow->modelType().isA("Kestrix::BaseAcl"));
}

TEST_F(ByNameTest, MembersAreNotSetToFalseNorMadeAgainWithOtherArguments) {
  const auto shadow = make<ShadowAcl>(acl->key());
  byName(*shadow).insert("activeIntf", {"e1"});
  EXPECT_THAT([&] { byName(*shadow).insert("activeIntf", {"e1", false}); },
              ThrowsMessage<Platform::SetFalseError>(StartsWith("Kestrix::ShadowAcl.activeIntf: ")));
  EXPECT_THROW(byName(*shadow).insert("activeIntf", {"e2", false}), Platform::SetFalseError);
  EXPECT_TRUE(shadow->activeIntf(e1) && !shadow->activeIntf(e2));
  EXPECT_THAT([&] { byName(*helper->inShadowFilter()).insert("shadowFilter", {"e1", "mac", 3}); },
              ThrowsMessage<Platform::ReinstantiationError>(testing::EndsWith(" attribute maxRules")));
  EXPECT_THAT([&] { byName(*shadow).insert("errorIntf", {"e1", "failed"}); },
              ThrowsMessage<RangeError>(StartsWith("Kestrix::ShadowAcl.errorIntf: value: \"failed\" is none of ")));
}

TEST_F(ByNameTest, QuestionsAndErrorsKeepNoNames) {
  const auto shadow = make<ShadowAcl>(acl->key());
  const ByName named = byName(*shadow), filters = byName(*helper->inShadowFilter());
  for (const auto& [object, collection] :
       {std::pair(named, "activeIntf"), std::pair(named, "errorIntf"), std::pair(filters, "shadowFilter")}) {
    EXPECT_FALSE(object.contains(collection, "asked"));
    object.lookUp(collection, "asked");
    object.erase(collection, "asked");
    EXPECT_THROW(object.contains(collection, ""), RangeError);
  }
  EXPECT_THROW(named.insert("activeIntf", {"asked", false}), Platform::SetFalseError);
  EXPECT_THROW(named.insert("errorIntf", {"asked", "failed"}), RangeError);
  EXPECT_THROW(filters.insert("shadowFilter", {"asked", "mac", 256}), RangeError);
  EXPECT_THROW(byName(*helper).call("regWriteHelper", {FilterRegisters(), "asked", "out", "on"}), RangeError);
  EXPECT_FALSE(IntfId::known("asked"));
  EXPECT_EQ(IntfId::known("e1"), e1);
}

TEST_F(ByNameTest, ValuesConvertWhereNothingIsLost) {
  AclRule rule(3);
  const ByName named = byName(rule);
  named.set("port", uint64_t{65535});
  for (const Platform::Value& wrong : {Platform::Value(65536), Platform::Value(-1), Platform::Value("+1")}) {
    EXPECT_THAT([&] { named.set("port", wrong); }, ThrowsMessage<RangeError>(HasSubstr(wrong.toText())));
  }
  for (const Platform::Value& wrong : {Platform::Value(true), Platform::Value()}) {
    EXPECT_THROW(named.set("port", wrong), WrongTypeError);
  }
  EXPECT_THROW(named.set("tcp", 1), WrongTypeError);
  EXPECT_EQ(rule.port(), 65535);

  const ByName ofFilter = byName(*filter(e1));
  ofFilter.set("multicast", 4);
  ofFilter.set("srcOrDst", SrcOrDst::destination);
  ofFilter.set("ipAcl", ipShadow);
  EXPECT_THROW(ofFilter.set("ipAcl", macShadow), WrongTypeError);
  EXPECT_THROW(ofFilter.set("srcOrDst", SrcOrDst{255}), RangeError);
  EXPECT_THROW(ofFilter.set("srcOrDst", 2), RangeError);
  EXPECT_THROW(ofFilter.set("ipAcl", transport), WrongTypeError);
  EXPECT_TRUE(filter(e1)->multicast() == 4 && filter(e1)->ipAcl() == ipShadow);
  ofFilter.set("multicast", {});
  ofFilter.set("ipAcl", nullptr);
  EXPECT_TRUE(!filter(e1)->multicast() && !filter(e1)->ipAcl());
  const Ptr<const Platform::VelCommonSmData> unchangeable = vcsd;
  EXPECT_EQ(byName(*helper).read("vcsd").as<Ptr<const Platform::VelCommonSmData>>(), unchangeable);
  EXPECT_THROW(byName(*helper).read("vcsd").as<Ptr<Platform::VelCommonSmData>>(), WrongTypeError);
  EXPECT_EQ(byName(*helper).read("transport").toText(), "present");
  EXPECT_THROW(byName(*helper).read("transport").as<Ptr<Platform::VelCommonSmData>>(), WrongTypeError);
  const Platform::Value constText = Platform::Value(Ptr<const IpAcl>(ipShadow)).toText();
  EXPECT_EQ(constText.as<Ptr<const IpAcl>>(), ipShadow);
  EXPECT_EQ(constText.toText(), std::as_const(*ipShadow).reference());
  EXPECT_THAT([&] { ofFilter.set("ipAcl", constText); },
              ThrowsMessage<RangeError>(HasSubstr("refers to a const object")));
  const auto make = [&](const Platform::Value& value) {
    return ModelType::find("Kestrix::AclAddrWithMask")->make({value}).toText();
  };
  EXPECT_EQ(make("10.0.0.0/0.0.0.1"), "Value('Kestrix::AclAddrWithMask', ip=10.0.0.0/0.0.0.1)");
  EXPECT_EQ(make(Platform::EthAddrWithMask{}),
            "Value('Kestrix::AclAddrWithMask', mac=00:00:00:00:00:00/00:00:00:00:00:00)");
  EXPECT_THAT([&] { make("10/0"); },
              ThrowsMessage<RangeError>(StartsWith("Kestrix::AclAddrWithMask: \"10\" is not an IPv4 address, and: ")));
  EXPECT_THAT([&] { ModelType::find("Kestrix::ShadowFilter")->make({e1, "mac", 256}); },
              ThrowsMessage<RangeError>(StartsWith("Kestrix::ShadowFilter: maxRules: \"256\" is not")));
  Platform::Value from = rule;
  const Platform::Value moved = std::move(from);
  EXPECT_EQ(from.toText(), "absent");  // NOLINT(bugprone-use-after-move): it is to be usable.
  EXPECT_FALSE(from.attributes());
}

TEST_F(ByNameTest, AVisitorMayRemoveWhatItWalksAndRaise) {
  const ByName filters = byName(*helper->outShadowFilter()), filter1 = byName(*filter(e1));
  size_t visits = 0;
  filters.forEach("shadowFilter", [&](const auto&, const auto&) {
    ++visits;
    byName(*helper).erase("outShadowFilter");
    filters.clear("shadowFilter");
  });
  EXPECT_EQ(visits, 1u);
  EXPECT_EQ(filter1.read("maxRules").toText(), "2") << "kept by the access";
  filters.insert("shadowFilter", {e1, "mac", 4});
  EXPECT_THROW(filters.forEach("shadowFilter", [](const auto&, const auto&) { throw RangeError("own"); }), RangeError);
  EXPECT_THROW(filters.forEach("shadowFilter", {}), WrongTypeError);
}

TEST_F(ByNameTest, OperationsOfTheModelAreCalled) {
  const Ptr<ShadowAcl> shadow = attached(acl, {e1});
  const ByName named = byName(*helper);
  EXPECT_EQ(byName(*shadow->acl().ip()).call("getNextAclRuleKey", {}).as<uint8_t>(), 0);
  EXPECT_EQ(named.call("aclSupported", {"a(ipv6,out)"}).toText(), "false");
  shadow->aclRulesFinalizedIs(true);
  EXPECT_EQ(named.call("writeAclToIntfs", {shadow->reference()}).toText(), "noError");
  shadow->deletingIntfIs(e1);
  shadow->applyingIntfIs(e2);
  EXPECT_EQ(named.call("setCreationError", {shadow, kNotSupported}).toText(), "notSupported");
  EXPECT_FALSE(named.call("clearAclFromIntfs", {shadow}).hasValue());
  EXPECT_TRUE(shadow->activeIntf().empty() && shadow->errorIntf(e2) == kNotSupported);
  byName(*filter(e1)).set("delay", "true");
  taken();
  const Platform::Value image = byName(*filter(e1)).call("genRegisters", {});
  EXPECT_EQ(image.as<FilterRegisters>(), filter(e1)->genRegisters());
  EXPECT_EQ(named.call("regWriteHelper", {image, "e1", "out", true}).toText(), "noError");
  EXPECT_THAT(taken(), ElementsAre("msp_return[0]/filter[3]/enable 0x4"));
  EXPECT_THAT([&] { named.call("regWriteHelper", {image, "e1", "out"}); },
              ThrowsMessage<WrongTypeError>("Kestrix::AclHelper.regWriteHelper: number of arguments: 4, not 3"));
  EXPECT_THAT([&] { named.call("regWriteHelper", {image, "e1", "out", "on"}); },
              ThrowsMessage<RangeError>("Kestrix::AclHelper.regWriteHelper: argument 4: \"on\" is neither true nor "
                                        "false"));
}

}  // namespace
}  // namespace Kestrix::Test
