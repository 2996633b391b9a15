#include "read/Document.h"

#include <algorithm>
#include <set>
#include <vector>

#include <fmt/format.h>

#include "read/Quote.h"

namespace Sim {
namespace {

// A document of the model has 12 levels.
constexpr size_t kMostLevels = 64;
// An object of the model has 11 members at most; one of the parser looks at all of them for each that is added.
constexpr size_t kMostMembers = 1000;
// What a message shows of a path, and of what the parser says; and a path of each of its names.
constexpr size_t kMostOfPath = 256;
constexpr size_t kMostOfParserMessage = 200;
constexpr size_t kMostOfName = 64;

std::string childPath(const std::string& path, std::string_view name) {
  std::string child = path + "/";
  for (const char c : cut(name, kMostOfName)) child += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  return child;
}

// Follows the events of the parser, for what the parsed value no longer shows or is not to be built for.
class Survey final : public Json::json_sax_t {
 public:
  bool isTooDeep() const { return isTooDeep_; }
  bool hasTooManyMembers() const { return !open_.empty() && open_.back().keys.size() > kMostMembers; }
  // Of the value that is being parsed.
  std::string path() const {
    std::string path;
    for (const Container& each : open_) path = childPath(path, each.isArray ? std::to_string(each.index) : each.key);
    return path;
  }
  // Each key that stands a second time in its object.
  const std::vector<std::string>& duplicates() const { return duplicates_; }
  // What the parser stumbled over, if it did, and behind which byte.
  const std::string& failure() const { return failure_; }
  size_t failedAt() const { return failedAt_; }

  bool null() override { return leaveValue(); }
  bool boolean(bool) override { return leaveValue(); }
  bool number_integer(number_integer_t) override { return leaveValue(); }
  bool number_unsigned(number_unsigned_t) override { return leaveValue(); }
  bool number_float(number_float_t, const string_t&) override { return leaveValue(); }
  bool string(string_t&) override { return leaveValue(); }
  bool binary(binary_t&) override { return leaveValue(); }
  bool start_object(size_t) override { return enter(/*isArray=*/false); }
  bool start_array(size_t) override { return enter(/*isArray=*/true); }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }
  bool key(string_t& name) override {
    open_.back().key = name;
    if (!open_.back().keys.insert(name).second) duplicates_.push_back(path());
    return !hasTooManyMembers();
  }
  bool parse_error(size_t position, const std::string&, const Json::exception& error) override {
    failedAt_ = position;
    failure_ = error.what();
    return false;
  }

 private:
  struct Container {
    bool isArray;
    size_t index = 0;
    std::string key = {};
    std::set<std::string> keys = {};
  };

  bool enter(bool isArray) {
    isTooDeep_ = open_.size() == kMostLevels;
    if (!isTooDeep_) open_.push_back({isArray});
    return !isTooDeep_;
  }
  bool leave() {
    open_.pop_back();
    return leaveValue();
  }
  bool leaveValue() {
    if (!open_.empty()) ++open_.back().index;
    return true;
  }

  std::vector<Container> open_;
  bool isTooDeep_ = false;
  std::vector<std::string> duplicates_;
  std::string failure_;
  size_t failedAt_ = 0;
};

// Where the first array or object stands that is nested too deep, in a text that is JSON up to there.
size_t firstTooDeep(std::string_view text) {
  size_t levels = 0;
  bool isInString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') isInString = !isInString;
    if (isInString) {
      if (c == '\\') ++i;
    } else if (c == '[' || c == '{') {
      if (++levels > kMostLevels) return i;
    } else if (c == ']' || c == '}') {
      --levels;
    }
  }
  return text.size();
}

bool holdsNothing(const Json& value) {
  return value.is_object() && std::all_of(value.begin(), value.end(), holdsNothing);
}

// The place behind `before`.
std::string placeInText(std::string_view before) {
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const size_t column = characters(before.substr(before.rfind('\n') + 1)) + 1;
  return fmt::format("line {}, column {}", line, column);
}

// The parser's message without its prefix and its own account of the place.
std::string parserMessage(std::string message) {
  for (const std::string_view start : {"] ", ": "}) {
    if (const auto at = message.find(start); at != message.npos) message.erase(0, at + start.size());
  }
  return cut(message, kMostOfParserMessage);
}

}  // namespace

Document::Document(std::string file, std::string_view text, Diagnostics& diagnostics)
    : file_(std::move(file)), diagnostics_(diagnostics), broken_(!survey(text)) {
  if (!broken_) value_ = Json::parse(text);
}

bool Document::survey(std::string_view text) {
  const auto broken = [&](const std::string& path, std::string code, size_t at, std::string_view what,
                          std::string remedy) {
    report(Severity::error, path, std::move(code), fmt::format("{}: {}", placeInText(text.substr(0, at)), what),
           std::move(remedy));
    return false;
  };
  // To the parser it is the end of the text.
  if (const size_t nul = text.find('\0'); nul != text.npos) {
    return broken("", "broken-json", nul, "a NUL octet", "Remove it; save the file as UTF-8, not as UTF-16.");
  }
  Survey survey;
  const bool isSound = Json::sax_parse(text, &survey);
  for (const std::string& path : survey.duplicates()) {
    report(Severity::error, path, "duplicate-key", "the key stands here a second time", "Keep one of them.");
  }
  if (isSound) return true;
  if (survey.isTooDeep()) {
    return broken(survey.path(), "too-deep", firstTooDeep(text),
                  fmt::format("arrays and objects are nested more than {} deep", kMostLevels),
                  "Remove what is nested there: no configuration or device is as deep.");
  }
  if (survey.hasTooManyMembers()) {
    report(Severity::error, survey.path(), "too-many-members",
           fmt::format("the object has more than {} members", kMostMembers),
           "Remove this one and those behind it: none of them is read.");
    return false;
  }
  const size_t at = std::min(survey.failedAt(), text.size() + 1);
  return broken("", "broken-json", at == 0 ? 0 : at - 1, parserMessage(survey.failure()),
                "Mend the JSON at that place.");
}

void Document::report(Severity severity, const std::string& path, std::string code, std::string message,
                      std::string remedy) {
  diagnostics_.add(
      {severity, std::move(code), file_, cut(path, kMostOfPath), acl_, ace_, std::move(message), std::move(remedy)});
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

bool Place::isEmpty() const { return holdsNothing(*value_); }

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

std::optional<uint64_t> Place::number(uint64_t least, uint64_t most, std::string_view remedy) const {
  if (!value_->is_number()) {
    expected("a number");
    return {};
  }
  if (value_->is_number_unsigned()) {
    if (const auto number = value_->get<uint64_t>(); number >= least && number <= most) return number;
  }
  error("out-of-range", fmt::format("{} is not a whole number from {} to {}", value_->dump(), least, most),
        std::string(remedy));
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

void Place::onlyMembers(std::initializer_list<std::string_view> known, std::string_view advice) const {
  forEachMember([&](std::string_view name, const Place& place) {
    if (std::find(known.begin(), known.end(), name) != known.end()) return;
    std::string names;
    for (const std::string_view each : known) names += fmt::format("{}{}", names.empty() ? "" : ", ", each);
    place.error(
        "unknown-member", fmt::format("{} is not known here", inQuotes(name)),
        fmt::format("Correct its name, or remove it if it is to have no effect; known are: {}.{}", names, advice));
  });
}

}  // namespace Sim
