// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_LIST_VIEW_HPP
#define MSGCTL_LIST_VIEW_HPP

#include <string>
#include <vector>

#include "msgctl/command.hpp"
#include "msgctl/table.hpp"

namespace msgctl {

/// How a list of records is shown, to people and to programs.
template <typename Record>
struct ListView {
  const char* kind;        ///< "threads", as JSON names the list
  const char* when_empty;  ///< "No threads."
  std::vector<Column> columns;
  Row (*row)(const Record&);
  std::string (*json)(const Record&);
};

template <typename Record, typename Records>
void print_table(Context& context, const ListView<Record>& view, const Records& records) {
  if (records.empty()) return context.out.write(std::string(view.when_empty) + "\n");
  Table table(view.columns, context.screen);
  for (const Record& record : records) table.measure(view.row(record));
  table.settle();
  context.out.write(table.header());
  for (const Record& record : records) context.out.write(table.line(view.row(record)));
}

template <typename Record, typename Records>
void print_json(Context& context, const ListView<Record>& view, const Records& records) {
  JsonList list(context.out, view.kind);
  for (const Record& record : records) list.add(view.json(record));
  list.end();
}

template <typename Record, typename Records>
void print_list(Context& context, const ListView<Record>& view, const Records& records) {
  context.json ? print_json(context, view, records) : print_table(context, view, records);
}

}  // namespace msgctl

#endif
