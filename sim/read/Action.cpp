#include "read/Action.h"

#include <string>
#include <string_view>

#include <fmt/format.h>

#include "read/Quote.h"

namespace Sim {
namespace {

// An identity of the model as a text: with its module's prefix, or without.
std::string_view withoutPrefix(std::string_view identity) {
  constexpr std::string_view kPrefix = "ietf-access-control-list:";
  return identity.starts_with(kPrefix) ? identity.substr(kPrefix.size()) : identity;
}

void checkLogging(const Place& place) {
  const auto logging = place.text();
  if (!logging || withoutPrefix(*logging) == "log-none") return;
  if (withoutPrefix(*logging) == "log-syslog") {
    return place.warning("not-logged", "the hardware does not log: the rule is applied without", "Remove the logging.");
  }
  place.error("unknown-value", fmt::format("{} is not a log action", inQuotes(*logging)), "Write \"log-none\".");
}

std::optional<Acl::Action> readForwarding(const Place& place) {
  const auto forwarding = place.text();
  if (!forwarding) return {};
  const std::string_view identity = withoutPrefix(*forwarding);
  if (identity == "accept") return Acl::Action::permit;
  if (identity == "drop") return Acl::Action::deny;
  if (identity == "reject") {
    place.error("no-reject", "the hardware sends no ICMP error, which \"reject\" asks for",
                "Write \"drop\", which sends none.");
  } else {
    place.error("unknown-value", fmt::format("{} is not a forwarding action", inQuotes(*forwarding)),
                "Write \"accept\" or \"drop\".");
  }
  return {};
}

}  // namespace

std::optional<Acl::Action> readAction(const Place& ace) {
  const auto actions = ace.required("actions", R"(Add "actions": {"forwarding": "accept"} or "drop".)");
  if (!actions || !actions->isObject()) return {};
  actions->onlyMembers({"forwarding", "logging"});
  if (const auto logging = actions->member("logging")) checkLogging(*logging);
  const auto forwarding = actions->required("forwarding", R"(Add "forwarding": "accept" or "drop".)");
  return forwarding ? readForwarding(*forwarding) : std::nullopt;
}

}  // namespace Sim
