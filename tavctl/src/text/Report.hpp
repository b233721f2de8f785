#ifndef TAVCTL_TEXT_REPORT_HPP
#define TAVCTL_TEXT_REPORT_HPP

#include <string>
#include <utility>
#include <vector>

namespace tavctl {

/** A document of sections with rows of cells, fit to be printed, signed and archived. */
class Report {
 public:
  struct Section {
    std::string title;
    std::vector<std::string> columns;  ///< headings; empty: none
    std::vector<std::vector<std::string>> rows;
    std::string remark;  ///< a paragraph below the rows; may be empty
  };

  explicit Report(std::string title) : title_(std::move(title)) {}
  void add(Section section) { sections_.push_back(std::move(section)); }

  [[nodiscard]] std::string as_text() const;
  /** One self-contained page; whatever the cells hold is shown as text. */
  [[nodiscard]] std::string as_html() const;

 private:
  std::string title_;
  std::vector<Section> sections_;
};

}  // namespace tavctl

#endif
