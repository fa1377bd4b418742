// Tables of the program: for people, and as JSON.
#ifndef OPRJ_APPS_TABLE_H
#define OPRJ_APPS_TABLE_H

#include <cstdio>

#include "program.h"

namespace program {

/// What a table shows in one place: for people, and in JSON.
struct Cell {
  std::string text, json;
  Cell(const char *words) : text(words), json(jsonText(words)) {}
  Cell(const std::string &words) : Cell(words.c_str()) {}
  Cell(double value) : text(numberText(value)), json(text) {}
  Cell(int32_t value) : text(std::to_string(value)), json(text) {}
  Cell(bool value) : text(value ? "yes" : "no"), json(value ? "true" : "false") {}
};

/// Rows of named columns, as aligned text or as a JSON array of objects.
class Table {
 public:
  explicit Table(std::vector<std::string> columns) : columns_(std::move(columns)) {}
  void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }

  void print(bool json) const {
    if (json) {
      std::printf("[");
      for (size_t r = 0; r < rows_.size(); ++r) {
        std::printf("%s\n  {", r ? "," : "");
        for (size_t c = 0; c < columns_.size(); ++c) {
          std::printf("%s%s: %s", c ? ", " : "", jsonText(columns_[c]).c_str(),
                      rows_[r][c].json.c_str());
        }
        std::printf("}");
      }
      std::printf("\n]\n");
      return;
    }
    std::vector<size_t> widths;
    for (size_t c = 0; c < columns_.size(); ++c) {
      size_t width = 0;
      for (const auto &row : rows_) width = std::max(width, row[c].text.size());
      widths.push_back(width);
    }
    for (const auto &row : rows_) {
      std::string line;
      for (size_t c = 0; c < columns_.size(); ++c)
        line += row[c].text + std::string(widths[c] - row[c].text.size() + 2, ' ');
      line.erase(line.find_last_not_of(' ') + 1);
      std::printf("%s\n", line.c_str());
    }
  }

 private:
  std::vector<std::string> columns_;
  std::vector<std::vector<Cell>> rows_;
};

}  // namespace program

#endif
