#include "eds/Diagnostics.hpp"

#include <algorithm>
#include <array>

#include "text/TextEncoding.hpp"

namespace nkr::tools {

namespace {

using Severity = Diagnostic::Severity;

// Enough to see every problem of a sound file; a hopeless one does not fill the memory.
constexpr std::size_t kMost = 1000;
constexpr std::uint32_t kMostOfOneKind = 200;

struct Row {
  Problem problem;
  Severity severity;
  std::string_view text;
  std::string_view cure;
};

constexpr auto kError = Severity::ERROR;
constexpr auto kWarning = Severity::WARNING;
constexpr auto kNote = Severity::NOTE;

constexpr std::array kRows = {
    Row{Problem::UNREADABLE, kError, "the file cannot be read", "check the file and its access rights"},
    Row{Problem::TOO_LARGE, kError, "the file is larger than 32 MiB", "use a device description"},
    Row{Problem::EMPTY, kError, "no sections: the file is empty or holds comments alone",
        "use a complete file"},
    Row{Problem::UTF16, kError, "UTF-16 text, not ASCII", "save the file as UTF-8 or windows-1252"},
    Row{Problem::BINARY, kError, "NUL bytes: binary data, no text", "use the text file"},
    Row{Problem::MARKUP, kError, "XML or HTML, not EDS", "use the EDS or DCF file of the device"},
    Row{Problem::OTHER_DIALECT, kError, "not a CANopen EDS: no object, and sections of another kind",
        "use the CANopen EDS of the device"},
    Row{Problem::NO_OBJECTS, kWarning, "no object is described", "use a complete file"},
    Row{Problem::TOO_MANY_OBJECTS, kError, "more than 262144 objects", "use a device description"},
    Row{Problem::NUL_PADDING, kWarning, "NUL bytes at the end", "cut the file after its text"},
    Row{Problem::AFTER_END_OF_FILE, kWarning, "text after an end-of-file mark (0x1A)", "remove the mark"},
    Row{Problem::NOT_UTF8, kNote, "text is not UTF-8", "save the file as UTF-8"},
    Row{Problem::CONTROL_CHARACTER, kWarning, "control character in the text", "remove it"},
    Row{Problem::LINE_TOO_LONG, kWarning, "line longer than 255 characters", "shorten it"},
    Row{Problem::LINE_CUT, kWarning, "line longer than 65536 bytes", "shorten it"},
    Row{Problem::UNCLEAR_LINE, kWarning, "neither comment, section nor key=value", "write key=value"},
    Row{Problem::EMPTY_KEY, kWarning, "\"=\" without a key before it", "write key=value"},
    Row{Problem::BLANK, kWarning, "blanks around the \"=\"", "write key=value"},
    Row{Problem::OUTSIDE_SECTION, kWarning, "key before the first section", "move it into its section"},
    Row{Problem::UNTERMINATED_HEADER, kWarning, "section without \"]\"", "write [section]"},
    Row{Problem::AFTER_HEADER, kWarning, "text after the \"]\" of a section", "move it to a line of its own"},
    Row{Problem::SECTION_NAME, kWarning, "no name of a section", "four hexadecimal digits name an object"},
    Row{Problem::INDEX_RANGE, kWarning, "index outside 0x0001 to 0xFFFF",
        "write [IIII] with four hexadecimal digits"},
    Row{Problem::SUBINDEX_RANGE, kWarning, "sub-index outside 0 to FF", "write [IIIIsubS], S in hexadecimal"},
    Row{Problem::DOUBLE_SECTION, kWarning, "section stands twice", "remove one of the two"},
    Row{Problem::DOUBLE_KEY, kWarning, "key stands twice", "remove one of the two"},
    Row{Problem::UNKNOWN_SECTION, kNote, "section that CiA 306 does not know", "check its spelling"},
    Row{Problem::UNKNOWN_KEY, kNote, "key that CiA 306 does not know", "check its spelling"},
    Row{Problem::COMMISSIONING_SPELLING, kWarning, "CiA 306 spells it DeviceComissioning",
        "write [DeviceComissioning]"},
    Row{Problem::MISSING_SECTION, kWarning, "section is missing", "add it"},
    Row{Problem::LIST_ENTRY, kWarning, "no entry of an object list", "write number=0xIIII"},
    Row{Problem::LISTED_TWICE, kWarning, "object is listed twice", "remove one of the two"},
    Row{Problem::LIST_COUNT, kWarning, "SupportedObjects is not the number of entries", "correct the number"},
    Row{Problem::NOT_LISTED, kWarning, "object stands in no object list", "list it"},
    Row{Problem::LISTED_NOT_DESCRIBED, kWarning, "object is listed but not described",
        "describe it or remove it from the list"},
    Row{Problem::MANDATORY_OBJECT, kNote, "mandatory object is missing (CiA 301)", "describe it"},
    Row{Problem::NO_NAME, kWarning, "ParameterName is missing or empty", "name the object"},
    Row{Problem::NAME_TOO_LONG, kWarning, "ParameterName is longer than 241 characters", "shorten it"},
    Row{Problem::DOUBLE_NAME, kNote, "name stands twice", "rename one of the two, or look it up by index"},
    Row{Problem::OBJECT_TYPE, kWarning, "ObjectType is none of CiA 301", "write 0x2, 0x7, 0x8 or 0x9"},
    Row{Problem::DATA_TYPE, kWarning, "DataType is none of CiA 301",
        "write the index of the type, 0x0001 to 0x025F"},
    Row{Problem::NO_DATA_TYPE, kWarning, "DataType is missing", "write the index of the type"},
    Row{Problem::ACCESS_TYPE, kWarning, "AccessType is none of CiA 306",
        "write ro, wo, rw, rwr, rww or const"},
    Row{Problem::ACCESS_CASE, kWarning, "AccessType in capital letters", "write it in small letters"},
    Row{Problem::NO_ACCESS_TYPE, kWarning, "AccessType is missing", "write ro, wo, rw, rwr, rww or const"},
    Row{Problem::PDO_MAPPING, kWarning, "PDOMapping is neither 0 nor 1", "write 0 or 1"},
    Row{Problem::EMPTY_VALUE, kNote, "key without a value", "remove the key or give it a value"},
    Row{Problem::VALUE_UNREADABLE, kWarning, "value does not fit the data type's form",
        "write a number of that type"},
    Row{Problem::VALUE_RANGE, kWarning, "value is outside the data type",
        "write a number that the type holds"},
    Row{Problem::NODE_ID_ORDER, kWarning, "$NODEID does not stand first, or is not in capitals",
        "write $NODEID+number"},
    Row{Problem::INLINE_COMMENT, kWarning, "comment behind a value", "move it to a line of its own"},
    Row{Problem::LIMIT_ON_OTHER, kWarning, "limit of an object that is no number", "remove the limit"},
    Row{Problem::LIMITS_CROSSED, kWarning, "LowLimit is above HighLimit", "exchange or correct them"},
    Row{Problem::DEFAULT_OUTSIDE_LIMITS, kWarning, "value is outside the object's own limits",
        "correct the value or the limits"},
    Row{Problem::ORPHAN, kWarning, "sub-entry of an object that is not described", "describe the object"},
    Row{Problem::SUB_OF_VARIABLE, kWarning, "sub-entry of a variable",
        "make the object an ARRAY (0x8) or RECORD (0x9)"},
    Row{Problem::NO_SUBS, kWarning, "array or record without sub-entries", "describe its sub-entries"},
    Row{Problem::NO_SUB0, kWarning, "array or record without sub-index 0", "describe sub-index 0"},
    Row{Problem::SUB_NUMBER, kWarning, "SubNumber is not the number of sub-entries", "correct the number"},
    Row{Problem::COMPACT_COUNT, kWarning, "CompactSubObj is no number of 0 to 254", "write 1 to 254"},
    Row{Problem::COMPACT_TEXT, kWarning, "text longer than 1024 bytes for every sub-entry", "shorten it"},
    Row{Problem::COMPACT_LIST_ENTRY, kWarning, "no entry for a sub-index of this object",
        "write sub-index=text"},
    Row{Problem::COMPACT_LIST_ALONE, kWarning, "list for an object without CompactSubObj",
        "remove it, or write CompactSubObj"},
    Row{Problem::INFO_NUMBER, kWarning, "no number, or one that is too large", "write a number"},
};

constexpr bool rows_in_order() {
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    if (static_cast<std::size_t>(kRows[i].problem) != i) return false;
  }
  return kRows.size() == static_cast<std::size_t>(Problem::INFO_NUMBER) + 1;
}
static_assert(rows_in_order());

}  // namespace

void Diagnostics::report(Problem problem, Place place, std::string_view detail, std::string_view taken) {
  const Severity severity = kRows[static_cast<std::size_t>(problem)].severity;
  deviates_ = deviates_ || severity != Severity::NOTE;
  failed_ = failed_ || severity == Severity::ERROR;
  count_.resize(kRows.size());
  const bool room = list_.size() < kMost && count_[static_cast<std::size_t>(problem)]++ < kMostOfOneKind;
  if (room || severity == Severity::ERROR) {
    add(problem, place, detail, taken);
  } else {
    ++left_out_;
  }
}

void Diagnostics::add(Problem problem, Place place, std::string_view detail, std::string_view taken) {
  const Row& row = kRows[static_cast<std::size_t>(problem)];
  Diagnostic diagnostic;
  diagnostic.severity = row.severity;
  diagnostic.line = place.line;
  diagnostic.section = printable(place.section);
  diagnostic.problem = row.text;
  if (!detail.empty()) diagnostic.problem += ": " + printable(detail);
  diagnostic.taken = printable(taken);
  diagnostic.cure = row.cure;
  list_.push_back(std::move(diagnostic));
}

std::vector<Diagnostic> Diagnostics::take() {
  std::stable_sort(list_.begin(), list_.end(),
                   [](const Diagnostic& a, const Diagnostic& b) { return a.line < b.line; });
  if (left_out_ != 0) {
    Diagnostic rest;
    rest.severity = Severity::NOTE;
    rest.problem = std::to_string(left_out_) + " more problems are left out";
    rest.cure = "cure the ones above first";
    list_.push_back(std::move(rest));
  }
  return std::move(list_);
}

}  // namespace nkr::tools
