#include "text/Report.hpp"

#include <algorithm>

#include "cli/Format.hpp"

namespace tavctl {

namespace {

std::vector<std::size_t> widths_of(const Report::Section& section) {
  std::vector<std::size_t> widths;
  const auto widen = [&](const std::vector<std::string>& cells) {
    widths.resize(std::max(widths.size(), cells.size()));
    for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], cells[i].size() + 2);
  };
  widen(section.columns);
  for (const auto& row : section.rows) widen(row);
  return widths;
}

std::string text_row(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) line += padded(cells[i], widths[i]);
  line.erase(line.find_last_not_of(' ') + 1);
  return line + '\n';
}

std::string escaped(const std::string& text) {
  std::string html;
  for (const char character : text) {
    switch (character) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += character;
    }
  }
  return html;
}

std::string html_row(const std::vector<std::string>& cells, const std::string& tag) {
  std::string row = "<tr>";
  for (const std::string& cell : cells) row += '<' + tag + '>' + escaped(cell) + "</" + tag + '>';
  return row + "</tr>\n";
}

constexpr char kStyle[] =
    "body{font:11pt "
    "sans-serif;margin:2em;max-width:60em}h1{font-size:16pt}h2{font-size:12pt;margin-top:1.5em}"
    "table{border-collapse:collapse}td,th{border:1px solid #999;padding:.2em .6em;text-align:left}";

}  // namespace

std::string Report::as_text() const {
  std::string text = title_ + '\n' + std::string(title_.size(), '=') + '\n';
  for (const Section& section : sections_) {
    text += '\n' + section.title + '\n' + std::string(section.title.size(), '-') + '\n';
    const std::vector<std::size_t> widths = widths_of(section);
    if (!section.columns.empty()) text += text_row(section.columns, widths);
    for (const auto& row : section.rows) text += text_row(row, widths);
    if (!section.remark.empty()) text += section.remark + '\n';
  }
  return text;
}

std::string Report::as_html() const {
  std::string html = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" +
                     escaped(title_) + "</title><style>" + kStyle + "</style></head><body>\n<h1>" +
                     escaped(title_) + "</h1>\n";
  for (const Section& section : sections_) {
    html += "<h2>" + escaped(section.title) + "</h2>\n<table>\n";
    if (!section.columns.empty()) html += html_row(section.columns, "th");
    for (const auto& row : section.rows) html += html_row(row, "td");
    html += "</table>\n";
    if (!section.remark.empty()) html += "<p>" + escaped(section.remark) + "</p>\n";
  }
  return html + "</body></html>\n";
}

}  // namespace tavctl
