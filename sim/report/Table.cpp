#include "report/Table.h"

#include <algorithm>
#include <utility>

namespace Sim {
namespace {

constexpr size_t kGap = 2;  // Columns between two cells.

std::vector<size_t> widthsOf(const std::vector<Spans>& rows) {
  std::vector<size_t> widths;
  for (const Spans& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].text.columns());
  }
  return widths;
}

}  // namespace

void layOut(const std::vector<Spans>& rows, Page& page) {
  const std::vector<size_t> widths = widthsOf(rows);
  for (Spans row : rows) {
    while (!row.empty() && row.back().text.text().empty()) row.pop_back();
    size_t indent = 0;
    for (size_t i = 0; i + 1 < row.size(); ++i) {
      row[i].text = std::move(row[i].text).filledTo(widths[i] + kGap);
      indent += widths[i] + kGap;
    }
    page.line(row, indent);
  }
}

}  // namespace Sim
