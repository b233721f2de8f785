#include "Reports.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <utility>

namespace tav::drive {
namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;

constexpr int kAllPassed = 0;
constexpr int kOneFailed = 1;
constexpr int kOneOpen = 3;

/** "12.345678", with so many digits before the point. */
std::string seconds_of(microseconds time, int digits) {
  constexpr std::int64_t kMicroseconds = 1000000;
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%0*lld.%06lld", digits,
                static_cast<long long>(time.count() / kMicroseconds),
                static_cast<long long>(time.count() % kMicroseconds));
  return text.data();
}

/** As XML writes a text in an attribute (1.0, 2.4). */
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (c == '"') {
      result += "&quot;";
    } else if (static_cast<unsigned char>(c) < 0x20) {
      result += ' ';
    } else {
      result += c;
    }
  }
  return result;
}

std::string place_of(const Arguments& arguments, const Verdict& verdict) {
  const std::string file = verdict.event.file.empty() ? arguments.scenario : verdict.event.file;
  return file + ":" + std::to_string(verdict.event.line);
}

}  // namespace

bool Reports::open(std::string& problem) {
  const auto open_one = [&](const std::string& path, std::ofstream& file) {
    if (path.empty()) return true;
    file.open(path, std::ios::binary);
    if (!file) problem = "cannot write " + path;
    return static_cast<bool>(file);
  };
  constexpr const char* kJson = ".json";
  const std::string& name = arguments_.events;
  json_ = name.size() > 5 && name.compare(name.size() - 5, 5, kJson) == 0;
  return open_one(arguments_.log, log_) && open_one(name, events_);
}

void Reports::frame(const nkr::can::Frame& frame, Time when) {
  if (!log_.is_open()) return;
  const auto time = duration_cast<microseconds>(when - began_);
  log_ << '(' << seconds_of(time, 10) << ") can0 " << nkr::can::to_string(frame) << '\n';
}

void Reports::take_events(Fleet& fleet) {
  std::vector<Happened> all;
  for (std::size_t i = 0; i < fleet.size(); ++i) {
    for (Event& event : fleet.drive(i).take_events()) {
      if (event.kind == Event::Kind::REFUSED) std::cerr << "tav-drive: " << event.text << std::endl;
      all.push_back({fleet.drive(i).node_id(), std::move(event)});
    }
  }
  if (!events_.is_open()) return;
  std::stable_sort(all.begin(), all.end(),
                   [](const Happened& a, const Happened& b) { return a.event.time < b.event.time; });
  for (const Happened& happened : all) write_event(happened);
}

void Reports::write_event(const Happened& happened) {
  if (json_) {
    events_ << to_json(happened.event, began_, happened.node) << '\n';
  } else {
    events_ << "drive " << int{happened.node} << ' ' << to_text(happened.event, began_) << '\n';
  }
}

int Reports::finish(Fleet& fleet, Time end) {
  std::vector<Ended> all;
  for (std::size_t i = 0; i < fleet.size(); ++i) {
    for (Verdict& verdict : fleet.drive(i).finish_scenario()) {
      all.push_back({fleet.drive(i).node_id(), std::move(verdict)});
    }
  }
  take_events(fleet);
  std::array<int, 3> counts{};
  for (const Ended& ended : all) {
    const auto kind = static_cast<std::size_t>(ended.verdict.kind);
    ++counts.at(kind);
    if (ended.verdict.kind == Verdict::Kind::PASSED) continue;
    const char* const word = ended.verdict.kind == Verdict::Kind::FAILED ? "failed" : "open";
    std::cerr << place_of(arguments_, ended.verdict) << ": " << word << ": " << ended.verdict.event.text
              << " (" << ended.verdict.message << ") at " << seconds_of(ended.verdict.time, 1) << " s, drive "
              << int{ended.node} << '\n';
  }
  if (!arguments_.junit.empty()) write_junit(all, end);
  if (!all.empty()) {
    std::cout << counts[0] << " passed, " << counts[1] << " failed, " << counts[2] << " open" << std::endl;
  }
  if (counts[1] > 0) return kOneFailed;
  return counts[2] > 0 ? kOneOpen : kAllPassed;
}

void Reports::write_junit(const std::vector<Ended>& all, Time end) const {
  std::ofstream file(arguments_.junit, std::ios::binary);
  const auto count = [&](Verdict::Kind kind) {
    return std::count_if(all.begin(), all.end(),
                         [&](const Ended& ended) { return ended.verdict.kind == kind; });
  };
  file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n<testsuite name=\""
       << escaped(arguments_.scenario) << "\" tests=\"" << all.size() << "\" failures=\""
       << count(Verdict::Kind::FAILED) << "\" errors=\"" << count(Verdict::Kind::INCONCLUSIVE)
       << "\" skipped=\"0\" time=\"" << seconds_of(duration_cast<microseconds>(end - began_), 1)
       << "\">\n<properties>\n<property name=\"seed\" value=\"" << arguments_.seed
       << "\"/>\n<property name=\"version\" value=\"" << TAV_VERSION << "\"/>\n</properties>\n";
  for (const auto& [node, verdict] : all) {
    const std::string where = verdict.event.file.empty() ? arguments_.scenario : verdict.event.file;
    const std::string name = verdict.event.case_name.empty() ? "scenario" : verdict.event.case_name;
    file << "<testcase classname=\"drive" << int{node} << '.' << escaped(name) << "\" name=\""
         << escaped(verdict.event.text) << "\" file=\"" << escaped(where) << "\" line=\""
         << verdict.event.line << "\" time=\"" << seconds_of(verdict.time, 1) << "\"";
    if (verdict.kind == Verdict::Kind::PASSED) {
      file << "/>\n";
      continue;
    }
    const bool failed = verdict.kind == Verdict::Kind::FAILED;
    const char* const element = failed ? "failure" : "error";
    file << ">\n<" << element << " message=\"" << escaped(verdict.message) << "\" type=\""
         << (failed ? "failed" : "inconclusive") << "\">"
         << escaped(verdict.event.text + ": " + verdict.message) << "</" << element << ">\n</testcase>\n";
  }
  file << "</testsuite>\n</testsuites>\n";
  if (!file.flush()) std::cerr << "tav-drive: cannot write " << arguments_.junit << '\n';
}

}  // namespace tav::drive
