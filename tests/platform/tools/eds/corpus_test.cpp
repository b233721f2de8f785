// Files of real devices with the listing that a sound reader gives of each, and files bad on purpose.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nkr/tools/EDSParser.hpp>
#include <nlohmann/json.hpp>

namespace {

using nkr::tools::AccessType;
using nkr::tools::DataType;
using nkr::tools::EDSParser;
using nlohmann::json;

constexpr std::uint8_t kNodeId = 5;  // the listings' numbers are for this node

std::filesystem::path corpus() {
  const char* folder = std::getenv("TAV_EDS_CORPUS");
  return folder == nullptr ? std::filesystem::path() : std::filesystem::path(folder);
}

json read_json(const std::filesystem::path& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file.is_open()) << path;
  return json::parse(file, nullptr, false);
}

json text_or_null(const std::optional<std::string>& text) {
  return text ? json(*text) : json();
}

json access_name(AccessType access) {
  switch (access) {
    case AccessType::UNKNOWN:
      return {};
    case AccessType::RO:
      return "ro";
    case AccessType::WO:
      return "wo";
    case AccessType::RW:
      return "rw";
    case AccessType::RWR:
      return "rwr";
    case AccessType::RWW:
      return "rww";
    case AccessType::CONST:
      return "const";
  }
  return {};
}

json number_or_null(const std::optional<std::string>& text, DataType type) {
  const auto number =
      text && nkr::tools::integer_bits(type) != 0 ? nkr::tools::number_of(*text, kNodeId) : std::nullopt;
  return number ? json(*number) : json();
}

/** An object as a row of a listing, without the flags. */
json row_of(const nkr::tools::ObjectEntry::Description& object) {
  const json type =
      object.data_type == DataType::UNKNOWN ? json() : json(static_cast<unsigned>(object.data_type));
  return {object.id.index(),
          object.id.subindex(),
          object.object_type,
          object.parameter,
          object.record_name.empty() ? json() : json(object.record_name),
          type,
          access_name(object.access),
          text_or_null(object.default_value),
          number_or_null(object.default_value, object.data_type),
          text_or_null(object.parameter_value),
          number_or_null(object.parameter_value, object.data_type),
          text_or_null(object.low_limit),
          text_or_null(object.high_limit),
          object.pdo_mapping,
          object.listed,
          object.compact ? "compact" : "section"};
}

bool is_doubled(const json& row) {
  return row.back().get<std::string>().find("dup") != std::string::npos;
}

void compare_listing(const EDSParser& parser, const json& listing) {
  const json& rows = listing["rows"];
  ASSERT_EQ(parser.objects().size(), rows.size());
  unsigned shown = 0;
  for (std::size_t i = 0; i < rows.size() && shown < 5; ++i) {
    json expected = rows[i];
    if (is_doubled(expected)) continue;
    expected.erase(expected.size() - 1);
    const json row = row_of(parser.objects()[i]->description());
    if (row != expected) ++shown;
    EXPECT_EQ(row, expected);
  }
}

bool is_printable(const std::string& text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return false;
  }
  // Serialising throws on text that is no UTF-8.
  return json(text).dump(-1, ' ', false, json::error_handler_t::replace).find("\xEF\xBF\xBD") ==
         std::string::npos;
}

void check_bad_file(const std::filesystem::path& path, const json& file) {
  std::ifstream stream(path, std::ios::binary);
  ASSERT_TRUE(stream.is_open());
  EDSParser parser;
  const auto start = std::chrono::steady_clock::now();
  const bool ok = parser.parse(stream, false);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  const std::string verdict = file["verdict"];
  EXPECT_FALSE(verdict == "reject" && ok);
  EXPECT_FALSE(verdict == "tolerate" && !ok);
  EXPECT_TRUE(ok || !parser.diagnostics().empty());
  EXPECT_LE(parser.diagnostics().size(), 1100U);
  for (const auto& diagnostic : parser.diagnostics()) {
    EXPECT_LT(diagnostic.problem.size() + diagnostic.section.size() + diagnostic.taken.size(), 2000U);
    EXPECT_TRUE(is_printable(diagnostic.problem + diagnostic.section + diagnostic.taken));
  }
  if (!ok) return;
  for (const json& value : file["must_still_read [index, sub, default text]"]) {
    const auto* object =
        parser.find(nkr::tools::ObjectID(value[0].get<std::uint16_t>(), value[1].get<std::uint8_t>()));
    ASSERT_NE(object, nullptr) << value;
    EXPECT_EQ(object->getDefaultValue(), value[2].get<std::string>()) << value;
  }
}

}  // namespace

TEST(EdsCorpus, RealFilesGiveTheirListings) {
  if (corpus().empty()) GTEST_SKIP() << "TAV_EDS_CORPUS is not set: no files of real devices at hand";
  const json manifest = read_json(corpus() / "manifest.json");
  ASSERT_FALSE(manifest["files"].empty());
  for (const json& file : manifest["files"]) {
    const std::filesystem::path name = file["file"].get<std::string>();
    SCOPED_TRACE(name);
    std::ifstream stream(corpus() / name, std::ios::binary);
    EDSParser parser;
    EXPECT_TRUE(parser.parse(stream, false));
    compare_listing(parser, read_json(corpus() / "expected" / (name.stem().string() + ".plain.json")));
  }
}

TEST(EdsCorpus, BadFilesGetTheirVerdictAndKeepWhatIsSound) {
  if (corpus().empty()) GTEST_SKIP() << "TAV_EDS_CORPUS is not set: no bad files at hand";
  const json manifest = read_json(corpus() / "bad" / "manifest.json");
  ASSERT_FALSE(manifest["files"].empty());
  for (const json& file : manifest["files"]) {
    const std::string name = file["file"];
    SCOPED_TRACE(name);
    check_bad_file(corpus() / "bad" / name, file);
  }
}
