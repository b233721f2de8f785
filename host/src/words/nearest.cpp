#include <algorithm>
#include <cctype>
#include <optional>
#include <tav/host/nearest.hpp>
#include <utility>

namespace tav::host {

namespace {

/** Longer names are compared up to here. */
constexpr std::size_t kLongest = 256;

/** In lower case, with one blank for every sign between words. */
std::string plain(std::string_view name) {
  std::string result;
  for (const char sign : name.substr(0, kLongest)) {
    const auto byte = static_cast<unsigned char>(sign);
    const bool is_between = sign == '_' || sign == '-' || sign == ' ' || sign == '.';
    result += is_between ? ' ' : static_cast<char>(std::tolower(byte));
  }
  return result;
}

/** How many slips lead from one to the other: a letter left out, added or exchanged, two neighbours swapped
 * (optimal string alignment). */
std::size_t slips(const std::string& a, const std::string& b) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> last(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row(b.size() + 1, i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t exchange = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({row[j - 1] + 1, last[j] + 1, exchange});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before = std::exchange(last, std::move(row));
  }
  return last.back();
}

/** 0 is the nearest; nothing when nobody would have meant it. */
std::optional<std::size_t> distance(const std::string& wanted, const std::string& name) {
  constexpr std::size_t kBeginning = 1;
  constexpr std::size_t kInside = 2;
  constexpr std::size_t kSlips = 3;
  if (name == wanted) return 0;
  if (name.compare(0, wanted.size(), wanted) == 0) return kBeginning;
  if (name.find(wanted) != name.npos) return kInside;
  const std::size_t allowed = std::max<std::size_t>(1, wanted.size() / 3);
  const std::size_t difference =
      wanted.size() > name.size() ? wanted.size() - name.size() : name.size() - wanted.size();
  if (difference > allowed) return std::nullopt;
  const std::size_t count = slips(wanted, name);
  return count > allowed ? std::nullopt : std::optional(kSlips + count);
}

}  // namespace

std::vector<std::string> nearest_names(std::string_view wanted, const std::vector<std::string>& names,
                                       std::size_t most) {
  const std::string plain_wanted = plain(wanted);
  if (plain_wanted.empty()) return {};
  std::vector<std::pair<std::size_t, const std::string*>> found;
  for (const std::string& name : names) {
    if (const auto far = distance(plain_wanted, plain(name))) found.emplace_back(*far, &name);
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> result;
  for (const auto& [far, name] : found) {
    if (result.size() == most) break;
    if (std::find(result.begin(), result.end(), *name) == result.end()) result.push_back(*name);
  }
  return result;
}

bool is_same_name(std::string_view a, std::string_view b) {
  return a.size() == b.size() && plain(a) == plain(b);
}

std::string did_you_mean(const std::vector<std::string>& names) {
  if (names.empty()) return {};
  std::string text = "did you mean ";
  for (std::size_t i = 0; i < names.size(); ++i) text += (i == 0 ? "\"" : ", \"") + names[i] + '"';
  return text + '?';
}

}  // namespace tav::host
