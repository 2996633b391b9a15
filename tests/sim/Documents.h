// ACL configurations in the model of RFC 8519, built from their parts.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace Sim {

// `matches` is what stands between the braces, `forwarding` is "accept" or "drop".
inline nlohmann::json ace(const std::string& name, const std::string& matches, const std::string& forwarding) {
  return {{"name", name},
          {"matches", nlohmann::json::parse("{" + matches + "}")},
          {"actions", {{"forwarding", forwarding}}}};
}

// `type` is "ipv4", "eth" or another one, without "-acl-type".
inline nlohmann::json acl(const std::string& name, const std::string& type, const std::vector<nlohmann::json>& aces) {
  return {{"name", name}, {"type", type + "-acl-type"}, {"aces", {{"ace", aces}}}};
}

// The ACLs of an interface in a direction.
struct Attached {
  std::string intf;
  std::string direction;  // "ingress" or "egress".
  std::vector<std::string> acls;
};

// `disabled` is an interface, or empty.
inline std::string document(const std::vector<nlohmann::json>& acls, const std::vector<Attached>& attached,
                            const std::string& disabled = "") {
  std::map<std::string, nlohmann::json> points;
  for (const auto& [intf, direction, names] : attached) {
    points[intf]["interface-id"] = intf;
    for (const std::string& name : names) points[intf][direction]["acl-sets"]["acl-set"].push_back({{"name", name}});
  }
  nlohmann::json model;
  auto& all = model["ietf-access-control-list:acls"];
  all["acl"] = acls;
  for (const auto& [intf, point] : points) all["attachment-points"]["interface"].push_back(point);
  if (!disabled.empty()) model["ietf-interfaces:interfaces"]["interface"] = {{{"name", disabled}, {"enabled", false}}};
  return model.dump();
}

}  // namespace Sim
