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

// Whether it is uncertain where the cursor stands behind a text.
bool is_adrift(const std::string& text, const Screen& screen) {
  return screen.terminal && display_width(text) != widest_width(text);
}

std::size_t floor_of(const Column& column, std::size_t width) {
  return column.minimum > 0 ? std::min(column.minimum, width) : width;
}

}  // namespace

std::vector<std::size_t> fitted_widths(const std::vector<Column>& columns, std::vector<std::size_t> widths,
                                       std::size_t available) {
  if (widths.empty()) return widths;
  std::vector<std::size_t> floors = widths;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    widths[i] = std::min(widths[i], std::max(available, std::size_t{1}));
    floors[i] = floor_of(columns[i], widths[i]);
  }
  shrink(widths, floors, available);
  shrink(widths, std::vector<std::size_t>(widths.size(), 1), available);
  return widths;
}

std::vector<std::size_t> shown_columns(const std::vector<Column>& columns, const std::vector<std::size_t>& widths,
                                       std::size_t available) {
  std::vector<std::size_t> shown(columns.size());
  std::iota(shown.begin(), shown.end(), 0);
  const auto needed = [&] {
    std::vector<std::size_t> floors;
    for (const std::size_t i : shown) floors.push_back(floor_of(columns[i], widths[i]));
    return total(floors);
  };
  while (!shown.empty() && needed() > available) {
    const auto least = std::max_element(shown.begin(), shown.end(), [&](std::size_t left, std::size_t right) {
      return columns[left].dispensable < columns[right].dispensable;
    });
    if (columns[*least].dispensable == 0) break;
    shown.erase(least);
  }
  return shown;
}

Table::Table(std::vector<Column> columns, const Screen& screen) : _columns(std::move(columns)), _screen(screen) {
  for (const Column& column : _columns) _widths.push_back(display_width(column.title));
}

void Table::measure(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    _widths[i] = std::max(_widths[i], widest_width(printable(row[i].text)));
  }
}

void Table::settle() {
  _shown = shown_columns(_columns, _widths, _screen.width);
  std::vector<Column> columns;
  std::vector<std::size_t> widths;
  for (const std::size_t i : _shown) {
    columns.push_back(_columns[i]);
    widths.push_back(_widths[i]);
  }
  widths = fitted_widths(columns, std::move(widths), _screen.width);
  for (std::size_t i = 0; i < _shown.size(); ++i) _widths[_shown[i]] = widths[i];
}

std::string Table::header() const {
  Row titles;
  for (const Column& column : _columns) titles.push_back({column.title, Style::Bold});
  return line(titles);
}

std::string Table::cell(const Cell& cell, std::size_t column, bool last) const {
  const std::string text = fit(printable(cell.text), _widths[column]);
  const std::size_t text_width = display_width(text);
  // Where a terminal draws a text wider than thought, blanks behind it might reach beyond the screen.
  const bool filled = is_adrift(text, _screen) || _widths[column] <= text_width;
  const std::string blanks(filled ? 0 : _widths[column] - text_width, ' ');
  const std::string shown = styled(_screen.terminal ? isolated(text) : text, cell.style, _screen);
  if (_columns[column].align == Align::Right) return blanks + shown;
  return last ? shown : shown + blanks;
}

std::string Table::line(const Row& row) const {
  std::string result;
  std::size_t position = 1;
  bool adrift = false;
  for (const std::size_t i : _shown) {
    // A terminal that draws a text wider than thought is told where the next column begins.
    if (adrift) {
      result += "\033[" + std::to_string(position) + "G";
    } else if (i != _shown.front()) {
      result.append(gap, ' ');
    }
    result += cell(row[i], i, i == _shown.back());
    adrift = is_adrift(fit(printable(row[i].text), _widths[i]), _screen);
    position += _widths[i] + gap;
  }
  result.erase(result.find_last_not_of(' ') + 1);
  return result += '\n';
}

}  // namespace msgctl
