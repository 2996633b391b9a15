#include "read/ConfigurationReader.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

#include <fmt/format.h>

#include "read/AceReader.h"
#include "read/ConfiguredFields.h"
#include "read/Document.h"
#include "read/Quote.h"

namespace Sim {
namespace {

struct TypeRow {
  std::string_view identity;
  Acl::AclType type;
};

// The identities of the model. The helper knows two of them; the others reach it as types that it refuses.
constexpr TypeRow kTypes[] = {
    {"ipv4-acl-type", Acl::AclType::ipv4},
    {"ipv6-acl-type", Acl::AclType::ipv6},
    {"eth-acl-type", Acl::AclType::mac},
    {"mixed-eth-ipv4-acl-type", static_cast<Acl::AclType>(3)},
    {"mixed-eth-ipv6-acl-type", static_cast<Acl::AclType>(4)},
    {"mixed-eth-ipv4-ipv6-acl-type", static_cast<Acl::AclType>(5)},
};
constexpr const TypeRow& kIpv4 = kTypes[0];
constexpr const TypeRow& kMac = kTypes[2];

// What names of a type often contain that is meant.
struct NearMiss {
  std::string_view part;  // In lower case.
  const TypeRow* meant;   // Null where the hardware takes no such type.
};
constexpr NearMiss kNearMisses[] = {
    {"mixed", nullptr}, {"6", nullptr}, {"mac", &kMac}, {"eth", &kMac}, {"l2", &kMac},
    {"layer2", &kMac},  {"ip", &kIpv4}, {"l3", &kIpv4}, {"4", &kIpv4},
};

const TypeRow* typeOf(std::string_view identity) {
  const auto* row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                 [&](const TypeRow& each) { return each.identity == identity; });
  return row == std::end(kTypes) ? nullptr : row;
}

// The type that was meant by a name of none; null when that is not clear.
const TypeRow* meantBy(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const auto* row = std::find_if(std::begin(kNearMisses), std::end(kNearMisses),
                                 [&](const NearMiss& each) { return name.find(each.part) != name.npos; });
  return row == std::end(kNearMisses) ? nullptr : row->meant;
}

// What stands for the name of a list entry that has none of its own: the end of its path.
std::string placeName(const Place& entry) {
  const std::string& path = entry.path();
  return path.substr(path.rfind('/', path.rfind('/') - 1) + 1);
}

class Reader {
 public:
  Reader(const std::string& file, std::string_view text, const Device& device, Diagnostics& diagnostics)
      : document_(file, text, diagnostics), device_(device) {}

  Configuration read() {
    const Place root = document_.root();
    if (document_.isBroken() || !root.isObject()) return {};
    root.onlyMembers({"ietf-access-control-list:acls", "ietf-interfaces:interfaces"});
    if (const auto interfaces = root.object("ietf-interfaces:interfaces")) readInterfaces(*interfaces);
    const auto acls = root.required("ietf-access-control-list:acls",
                                    R"(The ACLs stand in {"ietf-access-control-list:acls": {"acl": [...]}}.)");
    if (!acls || !acls->isObject()) return {};
    acls->onlyMembers({"acl", "attachment-points"});
    acls->forEachEntry("acl", [&](const Place& acl) { readAcl(acl); });
    if (const auto points = acls->object("attachment-points")) {
      points->onlyMembers({"interface"});
      points->forEachEntry("interface", [&](const Place& point) { readAttachmentPoint(point); });
    }
    checkSharedFilters();
    return std::move(configuration_);
  }

 private:
  // The name of a list entry, its key: 1 to 64 characters, once in `seen`.
  static std::optional<std::string> readName(const Place& entry, std::string_view what, std::set<std::string>& seen,
                                             std::string_view remedyForSecond) {
    const auto place = entry.required("name", fmt::format("Name the {}.", what));
    auto name = place ? place->text() : std::nullopt;
    if (!name) return {};
    if (name->empty() || characters(*name) > 64) {
      place->error("out-of-range", fmt::format("the name of an {} has 1 to 64 characters", what),
                   name->empty() ? fmt::format("Name the {}.", what) : "Shorten it.");
      return {};
    }
    if (!seen.insert(*name).second) {
      place->error("duplicate-name", fmt::format("there is another {} {}", what, inQuotes(*name)),
                   std::string(remedyForSecond));
      return {};
    }
    return name;
  }

  // An ACL's type, after a diagnostic the one that was meant. Null when that is not clear.
  static const TypeRow* readType(const Place& acl) {
    const auto place = acl.required("type", R"(Add "type": "ipv4-acl-type" or "eth-acl-type", as its ACEs match.)");
    const auto text = place ? place->text() : std::nullopt;
    if (!text) return nullptr;
    constexpr std::string_view kPrefix = "ietf-access-control-list:";
    const std::string name = text->starts_with(kPrefix) ? text->substr(kPrefix.size()) : *text;
    if (const TypeRow* known = typeOf(name)) return known;
    const TypeRow* const meant = meantBy(name);
    place->error("unknown-value", fmt::format("{} is not a type of ACL", inQuotes(*text)),
                 meant != nullptr ? fmt::format("Write \"{}\".", meant->identity)
                                  : fmt::format("Write \"{}\" or \"{}\": the hardware takes no other type.",
                                                kIpv4.identity, kMac.identity));
    return meant;
  }

  void readAcl(const Place& place) {
    const size_t errorsBefore = place.errors();
    const auto name = readName(place, "ACL", aclNames_, "Rename one of them.");
    document_.aboutAcl(name.value_or(""));
    place.onlyMembers({"name", "type", "aces"});
    const TypeRow* const type = readType(place);
    AclConfiguration acl{.name = name.value_or(""), .typeName = {}, .aces = {}};
    if (type != nullptr) {
      acl.typeName = type->identity;
      acl.type = type->type;
    }
    if (const auto aces = place.object("aces")) {
      aces->onlyMembers({"ace"});
      std::set<std::string> aceNames;
      aces->forEachEntry("ace", [&](const Place& ace) { readAceOf(acl, ace, aceNames, type != nullptr); });
    }
    document_.aboutAcl("");
    acl.hasErrors = place.errors() != errorsBefore;
    if (name) {
      aclByName_.emplace(*name, configuration_.acls.size());
    } else {
      acl.name = placeName(place);
    }
    configuration_.acls.push_back(std::move(acl));
  }

  void readAceOf(AclConfiguration& acl, const Place& place, std::set<std::string>& names, bool typeKnown) {
    const size_t errorsBefore = place.errors();
    const auto name = readName(place, "ACE", names, "Rename one of them.");
    document_.aboutAce(name.value_or(""));
    // What its matches mean depends on the type.
    const auto rule = typeKnown ? readAce(place, acl.type) : std::nullopt;
    document_.aboutAce("");
    const bool isRead = rule && place.errors() == errorsBefore;
    acl.aces.push_back({name.value_or(placeName(place)), isRead ? *rule : UnreadRule(), place.path(),
                        isRead ? configuredFields(place, *rule) : std::vector<ConfiguredField>()});
  }

  void readInterfaces(const Place& interfaces) {
    interfaces.onlyMembers({"interface"});
    std::set<std::string> names;
    interfaces.forEachEntry("interface", [&](const Place& place) { readInterface(place, names); });
  }

  void readInterface(const Place& place, std::set<std::string>& names) {
    place.onlyMembers({"name", "description", "type", "enabled", "link-up-down-trap-enable"});
    const auto name = readName(place, "interface", names, "Remove one of them.");
    const auto enabledPlace = place.member("enabled");
    const auto enabled = enabledPlace ? enabledPlace->boolean() : true;
    if (!name || !enabled) return;
    const Interface* interface = device_.find(*name);
    if (interface == nullptr) {
      place.warning("unknown-interface", fmt::format("the device has no interface {}", inQuotes(*name)),
                    "Correct the name; otherwise it is left out.");
    } else if (!*enabled) {
      configuration_.disabled.insert(interface->id);
    }
  }

  void readAttachmentPoint(const Place& point) {
    point.onlyMembers({"interface-id", "ingress", "egress"});
    const auto idPlace = point.required("interface-id", "Name the interface.");
    const auto id = idPlace ? idPlace->text() : std::nullopt;
    if (!id) return;
    if (!attachmentPoints_.insert(*id).second) {
      idPlace->error("duplicate-name", fmt::format("there is another attachment point {}", inQuotes(*id)),
                     "Put all ACL sets of an interface into one: one of each type, each way.");
    }
    const Interface* interface = device_.find(*id);
    if (interface == nullptr) {
      idPlace->error("unknown-interface", fmt::format("the device has no interface {}", inQuotes(*id)),
                     "Correct the name, or add the interface to the device description.");
    }
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      if (const auto place = point.object(directionName(direction))) readAclSets(*place, interface, direction);
    }
  }

  // `interface` is null when the device has none of that name; the ACL sets are checked all the same.
  void readAclSets(const Place& place, const Interface* interface, Acl::AclDirection direction) {
    place.onlyMembers({"acl-sets"});
    const auto sets = place.object("acl-sets");
    if (!sets) return;
    sets->onlyMembers({"acl-set"});
    std::set<std::string> names;
    std::map<std::string, std::string> aclOfType;
    sets->forEachEntry("acl-set", [&](const Place& set) {
      const AclConfiguration* acl = readAclSet(set, names, aclOfType);
      if (acl == nullptr || interface == nullptr) return noteUnplaced(set, direction);
      configuration_.attachments.push_back({interface->id, direction, acl->name});
      aclsOf_[interface->id].emplace(direction, acl->name);
    });
  }

  void noteUnplaced(const Place& set, Acl::AclDirection direction) {
    const auto name = set.member("name");
    if (name && name->isText()) configuration_.unplaced.push_back({*name->text(), direction});
  }

  // The ACL that `set` names. Null when there is none, or, with a diagnostic, it cannot be attached beside the others
  // of its filter, whose names and types are given.
  const AclConfiguration* readAclSet(const Place& set, std::set<std::string>& names,
                                     std::map<std::string, std::string>& aclOfType) {
    set.onlyMembers({"name"});
    const auto name = readName(set, "ACL set", names, "Remove one of them.");
    if (!name) return nullptr;
    const auto found = aclByName_.find(*name);
    if (found == aclByName_.end()) {
      if (!aclNames_.contains(*name)) {
        set.error("unknown-acl", fmt::format("there is no ACL {}", inQuotes(*name)),
                  "Correct the name, or add the ACL.");
      }
      return nullptr;
    }
    const AclConfiguration* const acl = &configuration_.acls[found->second];
    const auto [other, isFirst] = aclOfType.try_emplace(acl->typeName, *name);
    if (!isFirst) {
      set.error("same-type",
                fmt::format("\"{}\" and \"{}\" are both of type {}; a filter takes one ACL of a type", other->second,
                            *name, acl->typeName),
                "Merge them into one ACL, as far as its rules match the same side and fit the slots, or detach one of "
                "them.");
      return nullptr;
    }
    return acl;
  }

  // Interfaces that share filters write them in turn, so they must have the same ACLs, and be enabled or not, together.
  void checkSharedFilters() {
    std::map<std::pair<uint16_t, uint16_t>, const Interface*> firstOf;
    for (const Interface& interface : device_.interfaces) {
      if (interface.core == 0 || interface.portGroup == 0) continue;
      const auto [position, isFirst] = firstOf.try_emplace({interface.core, interface.portGroup}, &interface);
      if (isFirst) continue;
      const Interface& first = *position->second;
      const bool sameAcls = aclsOf_[first.id] == aclsOf_[interface.id];
      const bool sameState =
          configuration_.disabled.contains(first.id) == configuration_.disabled.contains(interface.id);
      if (sameAcls && sameState) continue;
      document_.report(
          Severity::error, "", "shared-filter",
          fmt::format("\"{}\" and \"{}\" share their filters (core {}, port group {}), but not their {}", first.id,
                      interface.id, first.core, first.portGroup, sameAcls ? "enabled state" : "ACLs"),
          "Give all interfaces of a port group the same ACLs and the same enabled state.");
    }
  }

  Document document_;
  const Device& device_;
  Configuration configuration_;
  std::set<std::string> aclNames_;
  std::map<std::string, size_t> aclByName_;  // Positions in the configuration.
  std::set<std::string> attachmentPoints_;
  std::map<Platform::IntfId, std::set<std::pair<Acl::AclDirection, std::string>>> aclsOf_;
};

}  // namespace

Configuration readConfiguration(const std::string& file, std::string_view text, const Device& device,
                                Diagnostics& diagnostics) {
  return Reader(file, text, device, diagnostics).read();
}

}  // namespace Sim
