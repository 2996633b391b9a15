// HTML, element by element. What is put into it is text and nothing else, whatever it holds.
//
//   Markup html;
//   {
//     const auto list = html.in("ul");
//     html.put("li", "<script>");  // <li>&lt;script&gt;</li>
//   }
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "text/Shown.h"

namespace Sim {

struct Attribute {
  std::string_view name;
  std::string value;
};

class Markup {
 public:
  using Attributes = std::vector<Attribute>;

  // An element that what follows goes into, as long as this lives.
  class Element {
   public:
    Element(Markup& markup, std::string_view name, const Attributes& attributes) : markup_(markup), name_(name) {
      markup_.open(name_, attributes);
    }
    ~Element() { markup_.close(name_); }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;

   private:
    Markup& markup_;
    std::string_view name_;
  };

  // `name` must outlive the element.
  [[nodiscard]] Element in(std::string_view name, const Attributes& attributes = {}) {
    return Element(*this, name, attributes);
  }
  // The element, with that text.
  void put(std::string_view name, std::string_view text) { put(name, {}, text); }
  void put(std::string_view name, const Attributes& attributes, std::string_view text);
  // An element that has no contents and no end, such as meta.
  void putEmpty(std::string_view name, const Attributes& attributes);
  // Escaped, for HTML and as on a terminal: nothing in it ends a line or turns the writing direction.
  void text(std::string_view text) { shown(Shown(text)); }
  // The same of what was escaped as on a terminal before.
  void shown(const Shown& text);
  // As it is: for what was written here, and never came from outside.
  void raw(std::string_view markup) { text_ += markup; }

  const std::string& str() const { return text_; }

 private:
  void open(std::string_view name, const Attributes& attributes);
  void close(std::string_view name);

  std::string text_;
};

}  // namespace Sim
