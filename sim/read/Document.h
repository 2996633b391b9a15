// A JSON document with checked access: every reader says what it expects, and what does not fit becomes a diagnostic
// with the place it stands at. Reading goes on after an error, so that all of them are found.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "read/Diagnostics.h"

namespace Sim {

using Json = nlohmann::ordered_json;

class Document;

// A value of a document and where it stands.
class Place {
 public:
  Place(Document& document, const Json& value, std::string path)
      : document_(&document), value_(&value), path_(std::move(path)) {}

  const std::string& path() const { return path_; }

  // The value as what is expected. None, and a diagnostic, when it is something else.
  bool isObject() const;
  bool isArray() const;
  // Whether it is a string; no diagnostic.
  bool isText() const { return value_->is_string(); }
  // Whether it is an object that holds no value, however deep; no diagnostic.
  bool isEmpty() const;
  std::optional<std::string> text() const;
  std::optional<bool> boolean() const;
  std::optional<uint64_t> number(uint64_t least, uint64_t most,
                                 std::string_view remedy = "Write a number of that range.") const;

  // The member of an object, without a diagnostic when there is none.
  std::optional<Place> member(std::string_view name) const;
  // The same, and its absence is an error.
  std::optional<Place> required(std::string_view name, std::string_view remedy) const;
  // A member that is an object. None when there is none, or, with a diagnostic, when it is something else.
  std::optional<Place> object(std::string_view name) const;
  // The member as `reader`, from a place to an optional value, reads it. A default-constructed value when there is no
  // such member or, after a diagnostic, when it cannot be read.
  template <class Reader>
  auto read(std::string_view name, const Reader& reader) const {
    const auto found = member(name);
    const auto value = found ? reader(*found) : decltype(reader(*found))();
    return value.value_or(typename decltype(reader(*found))::value_type{});
  }
  // Calls `visit` with each element of an array; anything else is an error.
  void forEachElement(const std::function<void(const Place&)>& visit) const;
  // Calls `visit` with each element of the list `name`, where there is one; a list of anything but objects is an error.
  void forEachEntry(std::string_view name, const std::function<void(const Place&)>& visit) const;
  // Calls `visit` with the name and value of each member of an object.
  void forEachMember(const std::function<void(std::string_view, const Place&)>& visit) const;
  // Reports each member that is none of `known`, with `advice` for who removes it.
  void onlyMembers(std::initializer_list<std::string_view> known, std::string_view advice = {}) const;

  void error(std::string code, std::string message, std::string remedy) const;
  void warning(std::string code, std::string message, std::string remedy) const;
  // How many errors were found so far.
  size_t errors() const;

 private:
  void expected(std::string_view what) const;

  Document* document_;
  const Json* value_;
  std::string path_;
};

class Document {
 public:
  // Broken JSON, JSON that is too deep or has too many members, and duplicate keys are diagnostics already here. All
  // but the last read as an empty object.
  Document(std::string file, std::string_view text, Diagnostics& diagnostics);

  bool isBroken() const { return broken_; }
  Place root() { return {*this, value_, ""}; }

  // The ACL and ACE that the following diagnostics are about.
  void aboutAcl(std::string acl) {
    acl_ = std::move(acl);
    ace_.clear();
  }
  void aboutAce(std::string ace) { ace_ = std::move(ace); }

  size_t errors() const { return diagnostics_.errors(); }
  // `path` is cut where it is long.
  void report(Severity severity, const std::string& path, std::string code, std::string message, std::string remedy);

 private:
  // Whether the text can be read; otherwise a diagnostic says why not.
  bool survey(std::string_view text);

  std::string file_;
  Diagnostics& diagnostics_;
  std::string acl_;
  std::string ace_;
  bool broken_;
  Json value_ = Json::object();
};

}  // namespace Sim
