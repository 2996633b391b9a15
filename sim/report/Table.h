// A table as text, of columns that are rows of data.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "report/Colour.h"

namespace Sim {

// A column of a table whose rows stand for one `Item` each. A column more is one of these more.
template <class Item>
struct Column {
  std::string_view header;
  std::string (*text)(const Item&);
  Style (*style)(const Item&) = nullptr;  // Plain without one.
};

struct Cell {
  std::string text;
  Style style = Style::plain;
};

using CellRow = std::vector<Cell>;

// Left-aligned columns, the last one as wide as it gets; a line for each row. Cells are painted after they are padded.
std::string layOut(const std::vector<CellRow>& rows, const Paint& paint);

// A row of headers, and one for each item.
template <class Item, size_t n>
std::string tableText(const Column<Item> (&columns)[n], const std::vector<Item>& items, const Paint& paint) {
  std::vector<CellRow> rows(1 + items.size());
  for (const auto& [header, text, style] : columns) {
    rows[0].push_back({std::string(header), Style::head});
    for (size_t i = 0; i < items.size(); ++i) {
      rows[1 + i].push_back({text(items[i]), style == nullptr ? Style::plain : style(items[i])});
    }
  }
  return layOut(rows, paint);
}

}  // namespace Sim
