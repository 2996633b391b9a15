// The examples of docs/model.md, and a test that they are these.
#include "hw/FilterRegisters.h"
#include "support/Docs.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

struct ModelDoc : HelperTest {
  static Lines withoutIndentation(Lines lines) {
    std::erase(lines, "");
    for (std::string& line : lines) line.erase(0, line.find_first_not_of(' '));
    return lines;
  }
};

TEST_F(ModelDoc, CodeRunsAsShown) {
  using Platform::byName;
  // clang-format off
  EXPECT_THAT([] { Platform::fromText<AclAddrWithMask>("Value('Kestrix::AclAddrWithMask', ip=10.0.0/0.0.0.0)"); },
              ThrowsMessage<Platform::RangeError>("ip: \"10.0.0\" is not an IPv4 address"));

  // Scalars.
  Platform::ByName named = byName(*helper);
  named.set("destroying", true);
  EXPECT_EQ(named.read("outRules").as<uint8_t>(), 2);

  // Collections: look up, contains, count, insert, erase, clear, walk.
  Platform::ByName filters = byName(*helper->outShadowFilter());
  Ptr<Platform::Entity> filter = filters.lookUp("shadowFilter", "e1").entity();
  byName(*filter).set("multicast", 1);
  byName(*filter).insert("rule", {AclRule(4)});
  byName(*filter).forEach("rule", [](const Platform::Value& key, const Platform::Value& rule) {
    fmt::print("{}: {}\n", key, rule);
  });
  byName(*filter).erase("rule", 4);

  // Operations of the model.
  Platform::Value image = byName(*filter).call("genRegisters", {});
  EXPECT_EQ(named.call("regWriteHelper", {image, "e1", "out", true}).toText(), "noError");

  // Objects from their constructor's arguments: the fixed attributes, in order.
  const Platform::ModelType* type = Platform::ModelType::find("Kestrix::ShadowFilter");
  EXPECT_EQ(byName(*type->make({"e9", "mac", 24}).entity()).read("maxRules").toText(), "24");

  EXPECT_THAT([&] { filters.insert("shadowFilter", {"e1", "ipv4", 2}); },
              ThrowsMessage<Platform::ReinstantiationError>(
                  "Kestrix::ShadowFilters.shadowFilter: Kestrix::ShadowFilter exists with another value of its attribute "
                  "ruleType"));

  byName(*filter).insert("rule", {AclRule(4)});
  Platform::Value rule = byName(*filter).lookUp("rule", 4);
  rule.attributes()->set("port", 443);
  byName(*filter).insert("rule", {rule});
  EXPECT_EQ(byName(*filter).lookUp("rule", 4).as<AclRule>().port(), 443);
  // clang-format on

  const Lines shown = withoutIndentation(linesOf(KESTRIX_DOCS "model.md", "cpp"));
  const Lines here = withoutIndentation(linesOf(KESTRIX_DOCS "../tests/platform/object/ModelDocTest.cpp"));
  ASSERT_FALSE(shown.empty());
  const auto start = std::find(here.begin(), here.end(), shown.front());
  Lines run(start, here.end());
  run.resize(std::min(run.size(), shown.size()));
  EXPECT_EQ(run, shown);
}

TEST_F(ModelDoc, TextsReadBackAndAttributesAreListedAsShown) {
  Lines listed;
  for (const auto& row : filter(e1)->modelType().attributes)
    listed.push_back(fmt::format("{}: {}, {}", row.name, row.kind, row.access));
  const auto readBack = []<class T>(const T&, const std::string& text) {
    return text.starts_with(Platform::valueOpening(T::modelName())) ? fmt::format("{}", Platform::fromText<T>(text))
                                                                    : "";
  };
  Lines attributes;
  for (const std::string& line : withoutIndentation(linesOf(KESTRIX_DOCS "model.md", "text"))) {
    if (line.starts_with("Value(")) {
      EXPECT_EQ(readBack(AclAddrWithMask(), line) + readBack(AclRule(0), line) + readBack(FilterRuleRegisters(), line) +
                    readBack(ShadowAcl::Acl(), line),
                line);
    } else {
      attributes.push_back(line);
    }
  }
  EXPECT_EQ(attributes, listed);
}

}  // namespace
}  // namespace Kestrix::Test
