// SPDX-License-Identifier: Apache-2.0
#include "msgctl/table.hpp"

#include <algorithm>
#include <numeric>

#include "msgctl/text.hpp"

namespace msgctl {
namespace {

constexpr std::size_t gap = 2;

std::size_t total(const std::vector<std::size_t>& widths) {
  return std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
}

// Takes from the widest column that is above its floor, until all fit or nothing is left to take.
void shrink(std::vector<std::size_t>& widths, const std::vector<std::size_t>& floors, std::size_t available) {
  while (total(widths) > available) {
    std::size_t widest = widths.size();
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (widths[i] > floors[i] && (widest == widths.size() || widths[i] > widths[widest])) widest = i;
    }
    if (widest == widths.size()) return;
    --widths[widest];
  }
}

std::string padded(const std::string& text, std::size_t text_width, const Column& column, std::size_t width,
                   bool last) {
  const std::size_t blanks = width > text_width ? width - text_width : 0;
  if (column.align == Align::Right) return std::string(blanks, ' ') + text;
  return last ? text : text + std::string(blanks, ' ');
}

}  // namespace

std::vector<std::size_t> fitted_widths(const std::vector<Column>& columns, std::vector<std::size_t> widths,
                                       std::size_t available) {
  if (widths.empty()) return widths;
  std::vector<std::size_t> floors = widths;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    widths[i] = std::min(widths[i], std::max(available, std::size_t{1}));
    floors[i] = columns[i].minimum > 0 ? std::min(columns[i].minimum, widths[i]) : widths[i];
  }
  shrink(widths, floors, available);
  shrink(widths, std::vector<std::size_t>(widths.size(), 1), available);
  return widths;
}

Table::Table(std::vector<Column> columns, const Screen& screen) : _columns(std::move(columns)), _screen(screen) {
  for (const Column& column : _columns) _widths.push_back(display_width(column.title));
}

void Table::measure(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    _widths[i] = std::max(_widths[i], display_width(printable(row[i].text)));
  }
}

void Table::settle() { _widths = fitted_widths(_columns, std::move(_widths), _screen.width); }

std::string Table::header() const {
  Row titles;
  for (const Column& column : _columns) titles.push_back({column.title, Style::Bold});
  return line(titles);
}

std::string Table::line(const Row& row) const {
  std::string result;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string text = fit(printable(row[i].text), _widths[i]);
    if (i > 0) result.append(gap, ' ');
    result +=
        padded(styled(text, row[i].style, _screen), display_width(text), _columns[i], _widths[i], i + 1 == row.size());
  }
  result.erase(result.find_last_not_of(' ') + 1);
  return result += '\n';
}

}  // namespace msgctl
