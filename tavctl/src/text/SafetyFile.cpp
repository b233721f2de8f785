#include "text/SafetyFile.hpp"

#include <fstream>
#include <type_traits>

#include "cli/Failure.hpp"
#include "cli/Format.hpp"
#include "cli/files.hpp"
#include "text/Record.hpp"
#include "text/SafetyFields.hpp"
#include "text/host.hpp"

namespace tavctl {

using nkr::tavcore::SafetyConfiguration;
using nkr::tavcore::SRDOConfiguration;

namespace {

template <class Record, class Fields>
Json record_json(Record record, Fields fields) {
  Json json = Json::object();
  fields([&](const char* key, const auto& field) { json[key] = json_of(field_value(field)); }, record);
  return json;
}

template <class Records, class Fields>
Json records_json(const Records& records, Fields fields) {
  Json json = Json::array();
  for (const auto& record : records) json.push_back(record_json(record, fields));
  return json;
}

template <class Words>
Json words_json(const Words& words) {
  constexpr int kDigits = 8;
  Json json = Json::array();
  for (const std::uint32_t word : words) json.push_back(hex(word, kDigits));
  return json;
}

[[noreturn]] void refuse(const std::string& where, const std::string& what) {
  throw Failure(ExitCode::CONFIGURATION, "safety configuration: " + where + " " + what,
                "\"tavctl safety show --json\" prints a whole configuration to start from.");
}

const Json& member(const Json& json, const std::string& key, const std::string& where) {
  const Json* const found = json.find(key);
  if (found == nullptr) refuse(where + key, "is missing");
  return *found;
}

std::string text_of(const Json& json) {
  return json.is_text() ? json.text() : json.dump();
}

template <class Record, class Fields>
void read_record(const Json& json, const std::string& where, Record& record, Fields fields) {
  fields(
      [&](const char* key, auto& field) {
        const Assignment assignment{where + key, text_of(member(json, key, where))};
        try {
          assign(assignment, field);
        } catch (const Failure& failure) {
          throw Failure(ExitCode::CONFIGURATION, std::string("safety configuration: ") + failure.what());
        }
      },
      record);
}

const Json& array(const Json& json, const std::string& key, std::size_t size) {
  const Json& found = member(json, key, "");
  if (!found.is_array() || found.size() != size) {
    refuse(key, "must be an array of " + std::to_string(size));
  }
  return found;
}

template <class Records, class Fields>
void read_records(const Json& json, const std::string& key, Records& records, Fields fields) {
  const Json& found = array(json, key, records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    read_record(found[i], key + "[" + std::to_string(i) + "].", records[i], fields);
  }
}

std::uint32_t word_of(const Json& json, const std::string& where) {
  std::uint32_t word = 0;
  assign({where, text_of(json)}, word);
  return word;
}

template <class Words>
void read_words(const Json& json, const std::string& key, Words& words) {
  const Json& found = array(json, key, words.size());
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = word_of(found[i], key);
}

SRDOConfiguration read_srdo(const Json& json) {
  constexpr std::size_t kMostEntries = 255;
  SRDOConfiguration srdo;
  read_record(json, "srdos.", srdo, kHeldSrdoFields);
  const Json& mapping = member(json, "mapping", "srdos.");
  if (!mapping.is_array() || mapping.size() > kMostEntries)
    refuse("srdos.mapping", "must be a list of entries");
  for (const Json& entry : mapping) srdo.mapping.push_back(word_of(entry, "srdos.mapping"));
  return srdo;
}

}  // namespace

Json json_of(const SafetyFile& file) {
  const SafetyConfiguration& configuration = file.configuration;
  Json json = Json::object();
  json["units"] = record_json(configuration.units, kUnitFields);
  json["sto"] = record_json(configuration.sto, kStoFields);
  json["sls"] = records_json(configuration.sls, kHeldSlsFields);
  json["sdi"] = records_json(configuration.sdi, kSdiFields);
  json["sbc"] = records_json(configuration.sbc, kSbcFields);
  json["mapping"] = words_json(configuration.mapping);
  json["safe_input_mapping"] = words_json(configuration.safe_input_mapping);
  json["safe_output_mapping"] = words_json(configuration.safe_output_mapping);
  Json srdos = Json::array();
  for (const SRDOConfiguration& srdo : file.srdos) {
    Json row = record_json(srdo, kHeldSrdoFields);
    row["mapping"] = words_json(srdo.mapping);
    srdos.push_back(std::move(row));
  }
  json["srdos"] = std::move(srdos);
  return json;
}

SafetyFile load_safety_file(const std::string& path) {
  std::ifstream stream;
  open_to_read(stream, path);
  const std::optional<Json> document = Json::parse(stream);
  if (!document) throw Failure(ExitCode::CONFIGURATION, path + " is no JSON");
  const Json* const configured = document->find("configuration");
  const Json& json = configured != nullptr ? *configured : *document;
  SafetyFile file;
  SafetyConfiguration& configuration = file.configuration;
  read_record(member(json, "units", ""), "units.", configuration.units, kUnitFields);
  read_record(member(json, "sto", ""), "sto.", configuration.sto, kStoFields);
  read_records(json, "sls", configuration.sls, kHeldSlsFields);
  read_records(json, "sdi", configuration.sdi, kSdiFields);
  read_records(json, "sbc", configuration.sbc, kSbcFields);
  read_words(json, "mapping", configuration.mapping);
  read_words(json, "safe_input_mapping", configuration.safe_input_mapping);
  read_words(json, "safe_output_mapping", configuration.safe_output_mapping);
  const Json& srdos = member(json, "srdos", "");
  if (!srdos.is_array()) refuse("srdos", "must be a list");
  for (const Json& srdo : srdos) file.srdos.push_back(read_srdo(srdo));
  return file;
}

std::vector<NamedSignature> computed_signatures(const SafetyFile& file) {
  const nkr::tavcore::SafetySignatures signatures =
      nkr::tavcore::compute_safety_signatures(file.configuration);
  std::vector<NamedSignature> named{{"STO 1", signatures.sto}};
  const auto add = [&](const char* function, const auto& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      named.push_back({std::string(function) + " " + std::to_string(i + 1), values[i]});
    }
  };
  add("SLS", signatures.sls);
  add("SDI", signatures.sdi);
  add("SBC", signatures.sbc);
  for (const SRDOConfiguration& srdo : file.srdos) {
    named.push_back({"SRDO " + std::to_string(srdo.number), nkr::tavcore::compute_srdo_signature(srdo)});
  }
  return named;
}

}  // namespace tavctl
