#include "read/ConfigurationReader.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include <fmt/format.h>

#include "read/AceReader.h"
#include "read/ConfiguredFields.h"
#include "read/Document.h"

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
constexpr auto kUnknownType = static_cast<Acl::AclType>(255);

Acl::AclType typeOf(std::string_view identity) {
  for (const TypeRow& row : kTypes) {
    if (row.identity == identity) return row.type;
  }
  return kUnknownType;
}

// The length of a YANG string: its characters, not its octets.
size_t characters(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
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
  std::optional<std::string> readName(const Place& entry, std::string_view what, std::set<std::string>& seen) {
    const auto place = entry.required("name", fmt::format("Name the {}.", what));
    auto name = place ? place->text() : std::nullopt;
    if (!name) return {};
    if (name->empty() || characters(*name) > 64) {
      place->error("out-of-range", fmt::format("the name of an {} has 1 to 64 characters", what), "Shorten it.");
      return {};
    }
    if (!seen.insert(*name).second) {
      place->error("duplicate-name", fmt::format("there is another {} \"{}\"", what, *name), "Rename one of them.");
      return {};
    }
    return name;
  }

  // The name of an ACL's type, without the module's prefix.
  static std::optional<std::string> readType(const Place& acl) {
    const auto place = acl.required("type", R"(Add "type": "ipv4-acl-type".)");
    auto name = place ? place->text() : std::nullopt;
    constexpr std::string_view kPrefix = "ietf-access-control-list:";
    if (name && name->starts_with(kPrefix)) name->erase(0, kPrefix.size());
    return name;
  }

  void readAcl(const Place& place) {
    const size_t errorsBefore = place.errors();
    const auto name = readName(place, "ACL", aclNames_);
    document_.aboutAcl(name.value_or(""));
    place.onlyMembers({"name", "type", "aces"});
    const auto typeName = readType(place);
    AclConfiguration acl{name.value_or(""), typeName.value_or(""), typeOf(typeName.value_or("")), {}};
    if (const auto aces = place.object("aces")) {
      aces->onlyMembers({"ace"});
      std::set<std::string> aceNames;
      aces->forEachEntry("ace", [&](const Place& ace) { readAceOf(acl, ace, aceNames, typeName.has_value()); });
    }
    document_.aboutAcl("");
    acl.hasErrors = place.errors() != errorsBefore;
    if (!name) acl.name = placeName(place);
    configuration_.acls.push_back(std::move(acl));
  }

  void readAceOf(AclConfiguration& acl, const Place& place, std::set<std::string>& names, bool typeKnown) {
    const size_t errorsBefore = place.errors();
    const auto name = readName(place, "ACE", names);
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
    const auto name = readName(place, "interface", names);
    const auto enabledPlace = place.member("enabled");
    const auto enabled = enabledPlace ? enabledPlace->boolean() : true;
    if (!name || !enabled) return;
    const Interface* interface = device_.find(*name);
    if (interface == nullptr) {
      place.warning("unknown-interface", fmt::format("the device has no interface \"{}\"", *name), "It is left out.");
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
      idPlace->error("duplicate-name", fmt::format("there is another attachment point \"{}\"", *id),
                     "Put all ACL sets of an interface into one.");
    }
    const Interface* interface = device_.find(*id);
    if (interface == nullptr) {
      idPlace->error("unknown-interface", fmt::format("the device has no interface \"{}\"", *id),
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
    const auto name = readName(set, "ACL set", names);
    if (!name) return nullptr;
    const auto acl = std::find_if(configuration_.acls.begin(), configuration_.acls.end(),
                                  [&](const auto& each) { return each.name == *name; });
    if (acl == configuration_.acls.end()) {
      if (!aclNames_.contains(*name)) {
        set.error("unknown-acl", fmt::format("there is no ACL \"{}\"", *name), "Correct the name, or add the ACL.");
      }
      return nullptr;
    }
    const auto [other, isFirst] = aclOfType.try_emplace(acl->typeName, *name);
    if (!isFirst) {
      set.error("same-type",
                fmt::format("\"{}\" and \"{}\" are both of type {}; a filter takes one ACL of a type", other->second,
                            *name, acl->typeName),
                "Merge them into one ACL, or detach one of them.");
      return nullptr;
    }
    return &*acl;
  }

  // Interfaces that share filters write them in turn, so they must have the same ACLs, and be enabled or not, together.
  void checkSharedFilters() {
    std::map<std::pair<uint16_t, uint16_t>, const Interface*> firstOf;
    for (const Interface& interface : device_.interfaces) {
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
  std::set<std::string> attachmentPoints_;
  std::map<Platform::IntfId, std::set<std::pair<Acl::AclDirection, std::string>>> aclsOf_;
};

}  // namespace

Configuration readConfiguration(const std::string& file, std::string_view text, const Device& device,
                                Diagnostics& diagnostics) {
  return Reader(file, text, device, diagnostics).read();
}

}  // namespace Sim
