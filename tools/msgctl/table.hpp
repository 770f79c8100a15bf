// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_TABLE_HPP
#define MSGCTL_TABLE_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "msgctl/terminal.hpp"

namespace msgctl {

enum class Align { Left, Right };

struct Column {
  std::string title;
  Align align = Align::Left;
  /// How narrow the column may get when the table is too wide; 0 for one that is shortened only as a last resort.
  std::size_t minimum = 0;
  /// Which columns are left out on a screen that is too narrow for the minima of all: the highest first; 0 for never.
  int dispensable = 0;
};

struct Cell {
  std::string text;
  Style style = Style::Plain;
};

using Row = std::vector<Cell>;

/// The widths that make columns of these natural widths, two blanks apart, fit into `available` columns.
std::vector<std::size_t> fitted_widths(const std::vector<Column>& columns, std::vector<std::size_t> widths,
                                       std::size_t available);

/// Which of the columns are shown in `available` columns of the screen, by their index.
std::vector<std::size_t> shown_columns(const std::vector<Column>& columns, const std::vector<std::size_t>& widths,
                                       std::size_t available);

/// Aligned columns that fit a screen. Rows are measured first and printed afterwards one at a time, so that a long
/// list never exists a second time as cells.
class Table {
 public:
  Table(std::vector<Column> columns, const Screen& screen);

  void measure(const Row& row);

  /// Chooses the widths; from now on lines can be made.
  void settle();

  [[nodiscard]] std::string header() const;
  [[nodiscard]] std::string line(const Row& row) const;

 private:
  [[nodiscard]] std::string cell(const Cell& cell, std::size_t column, bool last) const;

  std::vector<Column> _columns;
  std::vector<std::size_t> _shown;  // the columns that are not left out
  Screen _screen;
  std::vector<std::size_t> _widths;
};

}  // namespace msgctl

#endif
