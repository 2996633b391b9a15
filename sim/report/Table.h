// A table as text, of columns that are rows of data.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "report/Page.h"

namespace Sim {

// A column of a table whose rows stand for one `Item` each. A column more is one of these more.
template <class Item>
struct Column {
  std::string_view header;
  std::string (*text)(const Item&);
  Style (*style)(const Item&) = nullptr;  // Plain without one.
};

// Left-aligned columns, the last one as wide as the terminal; a line for each row. Cells are painted after they are
// padded.
void layOut(const std::vector<Spans>& rows, Page& page);

// A row of headers, and one for each item.
template <class Item, size_t n>
void writeTable(const Column<Item> (&columns)[n], const std::vector<Item>& items, Page& page) {
  std::vector<Spans> rows(1 + items.size());
  for (const auto& [header, text, style] : columns) {
    rows[0].push_back({header, Style::head});
    for (size_t i = 0; i < items.size(); ++i) {
      rows[1 + i].push_back({text(items[i]), style == nullptr ? Style::plain : style(items[i])});
    }
  }
  layOut(rows, page);
}

}  // namespace Sim
