#include "report/Table.h"

#include <algorithm>

#include <fmt/format.h>

namespace Sim {
namespace {

std::vector<size_t> widthsOf(const std::vector<CellRow>& rows) {
  std::vector<size_t> widths;
  for (const CellRow& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].text.size());
  }
  return widths;
}

}  // namespace

std::string layOut(const std::vector<CellRow>& rows, const Paint& paint) {
  const std::vector<size_t> widths = widthsOf(rows);
  std::string text;
  for (const CellRow& row : rows) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
      const bool isLast = i + 1 == row.size();
      line += paint.in(row[i].style, isLast ? row[i].text : fmt::format("{:<{}}  ", row[i].text, widths[i]));
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}

}  // namespace Sim
