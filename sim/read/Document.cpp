#include "read/Document.h"

#include <algorithm>
#include <set>
#include <vector>

#include <fmt/format.h>

namespace Sim {
namespace {

std::string childPath(const std::string& path, std::string_view name) {
  std::string child = path + "/";
  for (const char c : name) child += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  return child;
}

// Follows the events of the parser to know where each key stands, as the parsed value no longer shows duplicates.
class DuplicateFinder {
 public:
  explicit DuplicateFinder(std::function<void(std::string path)> found) : found_(std::move(found)) {}

  bool operator()(Json::parse_event_t event, const Json& value) {
    using Event = Json::parse_event_t;
    switch (event) {
      case Event::object_start:
      case Event::array_start:
        open_.push_back({event == Event::array_start, path_, 0, {}});
        enterElement();
        break;
      case Event::key: {
        const auto& key = value.get_ref<const std::string&>();
        path_ = childPath(open_.back().path, key);
        if (!open_.back().keys.insert(key).second) found_(path_);
        break;
      }
      case Event::object_end:
      case Event::array_end:
        path_ = open_.back().path;
        open_.pop_back();
        leaveElement();
        break;
      case Event::value:
        leaveElement();
        break;
    }
    return true;
  }

 private:
  struct Container {
    bool isArray;
    std::string path;
    size_t index;
    std::set<std::string> keys;
  };

  void enterElement() {
    if (open_.back().isArray) path_ = childPath(open_.back().path, std::to_string(open_.back().index));
  }
  void leaveElement() {
    if (open_.empty() || !open_.back().isArray) return;
    ++open_.back().index;
    enterElement();
  }

  std::function<void(std::string)> found_;
  std::vector<Container> open_;
  std::string path_;
};

std::string placeInText(std::string_view text, size_t byte) {
  const std::string_view before = text.substr(0, std::min(byte == 0 ? 0 : byte - 1, text.size()));
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const auto lastBreak = before.rfind('\n');
  const size_t column = before.size() - (lastBreak == before.npos ? 0 : lastBreak + 1) + 1;
  return fmt::format("line {}, column {}", line, column);
}

// The parser's message without its prefix and its own account of the place.
std::string parserMessage(std::string message) {
  for (const std::string_view start : {"] ", ": "}) {
    if (const auto at = message.find(start); at != message.npos) message.erase(0, at + start.size());
  }
  return message;
}

}  // namespace

Document::Document(std::string file, std::string_view text, Diagnostics& diagnostics)
    : file_(std::move(file)), diagnostics_(diagnostics) {
  DuplicateFinder duplicates([this](std::string path) {
    report(Severity::error, std::move(path), "duplicate-key", "the key stands here a second time", "Keep one of them.");
  });
  try {
    value_ = Json::parse(text, [&](int, Json::parse_event_t event, Json& value) { return duplicates(event, value); });
  } catch (const Json::parse_error& error) {
    broken_ = true;
    report(Severity::error, "", "broken-json",
           fmt::format("{}: {}", placeInText(text, error.byte), parserMessage(error.what())),
           "Mend the JSON at that place.");
  } catch (const Json::exception& error) {
    broken_ = true;
    report(Severity::error, "", "broken-json", parserMessage(error.what()), "Mend the JSON.");
  }
  if (broken_) value_ = Json::object();
}

void Document::report(Severity severity, std::string path, std::string code, std::string message, std::string remedy) {
  diagnostics_.add(
      {severity, std::move(code), file_, std::move(path), acl_, ace_, std::move(message), std::move(remedy)});
}

void Place::error(std::string code, std::string message, std::string remedy) const {
  document_->report(Severity::error, path_, std::move(code), std::move(message), std::move(remedy));
}

void Place::warning(std::string code, std::string message, std::string remedy) const {
  document_->report(Severity::warning, path_, std::move(code), std::move(message), std::move(remedy));
}

size_t Place::errors() const { return document_->errors(); }

void Place::expected(std::string_view what) const {
  error("wrong-type", fmt::format("{} is expected here, not {}", what, value_->type_name()),
        fmt::format("Write {}.", what));
}

bool Place::isObject() const {
  if (!value_->is_object()) expected("an object");
  return value_->is_object();
}

bool Place::isArray() const {
  if (!value_->is_array()) expected("an array");
  return value_->is_array();
}

std::optional<std::string> Place::text() const {
  if (value_->is_string()) return value_->get<std::string>();
  expected("a string");
  return {};
}

std::optional<bool> Place::boolean() const {
  if (value_->is_boolean()) return value_->get<bool>();
  expected("true or false");
  return {};
}

std::optional<uint64_t> Place::number(uint64_t least, uint64_t most) const {
  if (!value_->is_number()) {
    expected("a number");
    return {};
  }
  if (value_->is_number_unsigned()) {
    if (const auto number = value_->get<uint64_t>(); number >= least && number <= most) return number;
  }
  error("out-of-range", fmt::format("{} is not a whole number from {} to {}", value_->dump(), least, most),
        "Write a number of that range.");
  return {};
}

std::optional<Place> Place::member(std::string_view name) const {
  if (!value_->is_object()) return {};
  const auto found = value_->find(std::string(name));
  if (found == value_->end()) return {};
  return Place(*document_, *found, childPath(path_, name));
}

std::optional<Place> Place::required(std::string_view name, std::string_view remedy) const {
  if (!isObject()) return {};
  auto found = member(name);
  if (!found) error("missing-member", fmt::format("\"{}\" is missing", name), std::string(remedy));
  return found;
}

std::optional<Place> Place::object(std::string_view name) const {
  auto found = member(name);
  return found && found->isObject() ? found : std::nullopt;
}

void Place::forEachElement(const std::function<void(const Place&)>& visit) const {
  if (!isArray()) return;
  size_t index = 0;
  for (const Json& element : *value_) visit({*document_, element, childPath(path_, std::to_string(index++))});
}

void Place::forEachEntry(std::string_view name, const std::function<void(const Place&)>& visit) const {
  const auto list = member(name);
  if (!list) return;
  list->forEachElement([&](const Place& each) {
    if (each.isObject()) visit(each);
  });
}

void Place::forEachMember(const std::function<void(std::string_view, const Place&)>& visit) const {
  if (!isObject()) return;
  for (const auto& [name, value] : value_->items()) visit(name, {*document_, value, childPath(path_, name)});
}

void Place::onlyMembers(std::initializer_list<std::string_view> known) const {
  forEachMember([&](std::string_view name, const Place& place) {
    if (std::find(known.begin(), known.end(), name) != known.end()) return;
    std::string names;
    for (const std::string_view each : known) names += fmt::format("{}{}", names.empty() ? "" : ", ", each);
    place.error("unknown-member", fmt::format("\"{}\" is not known here", name),
                fmt::format("Remove it; known are: {}.", names));
  });
}

}  // namespace Sim
