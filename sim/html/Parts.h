// What the pages are made of.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "html/Markup.h"
#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"
#include "read/Diagnostics.h"
#include "registers/RegisterWords.h"
#include "report/Colour.h"
#include "text/Shown.h"

namespace Sim {

// What stands at the top of a page.
struct Heading {
  std::string title;
  std::string state;  // In a word or two,
  Style style = Style::plain;
  std::string summary;  // and in a sentence.
};

// A whole page, whose contents `write` puts in. It needs nothing else: no script, and nothing of a network.
std::string pageOf(const Heading& heading, const std::function<void(Markup&)>& write);

// A word in the colour of what it says.
void putState(Markup& html, std::string_view word, Style style);

// A part of a line, which was escaped already for a terminal: as that, or as text where it says nothing in particular.
void putSpoken(Markup& html, const Shown& text, Style style);

// A table that is scrolled by itself where the window is too narrow. `name` says what it is to whoever cannot see it.
class Table {
 public:
  Table(Markup& html, std::string_view name, const std::vector<std::string_view>& headers);

 private:
  Markup::Element scroll_;
  Markup::Element table_;
};

// A title that its contents are folded behind, until somebody opens it.
class Folded {
 public:
  Folded(Markup& html, std::string_view title);

 private:
  Markup::Element details_;
};

// The names, or the first few and the rest folded.
void putIntfs(Markup& html, const std::vector<Platform::IntfId>& intfs);
// The same as the title of a section about their filter.
void putFilterTitle(Markup& html, const std::vector<Platform::IntfId>& intfs, Acl::AclDirection direction);
// "port-1", "port-1 and port-2", "port-1, port-2 and 4,094 more".
std::string shortList(const std::vector<Platform::IntfId>& intfs);

void putRemedy(Markup& html, std::string_view remedy);
// Nothing where there is none.
void putDiagnostics(Markup& html, const Diagnostics& diagnostics);

// A number with a comma before each three digits.
std::string withCommas(uint64_t number);

// The registers of a filter, folded: each bit and each register of a slot with its meaning where the pointer or the
// keyboard goes.
void putRegisters(Markup& html, const FilterDump& filter);
// A word, bit by bit. Bits in which it is not as `expected`, of another filter, stand out.
void putWord(Markup& html, const FilterDump& filter, const Kestrix::Layout::FilterRegister& row,
             const FilterDump* expected = nullptr);

}  // namespace Sim
