#ifndef TESTS_SUPPORT_OPERATION_HPP
#define TESTS_SUPPORT_OPERATION_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <utility>
#include <vector>

#include "Doubles.hpp"
#include "EdsFixture.hpp"

namespace tavtest {

using Values = std::vector<Value>;

/** What a step does to an output of its operation. */
struct Fill {
  enum class When {
    STORED,     ///< the access itself writes the output: also when only its repeat succeeded
    CONVERTED,  ///< written from the value read: only when the first attempt succeeded
    APPENDED,   ///< as CONVERTED, and the output is a new one at the end
  };
  When when;
  std::size_t output;
  Value value;
};

/** One access of an operation, or a group of them (`call`) that is repeated as a whole. */
struct Step {
  enum class Kind { READ, WRITE, READ_AT, WRITE_AT, RESOLVE, SYNC, NMT_READ, NMT_WRITE, CALL };
  Kind kind = Kind::READ;
  std::string name;           ///< READ, WRITE, RESOLVE
  std::uint32_t address = 0;  ///< READ_AT, WRITE_AT
  Value value;                ///< written, or answered; RESOLVE: any value of the object's type
  bool repeated = true;       ///< a failing attempt is made once more
  std::vector<Fill> fills;
  std::vector<Step> steps;  ///< CALL
  /** A value to write that depends on how the accesses before went; nothing: `value`. */
  std::function<std::optional<Value>(const std::vector<Access>& before)> computed;

  /** The access writes this output with the value read. */
  Step into(std::size_t output) &&;
  /** On success at the first attempt the output becomes `after`. */
  Step converted(std::size_t output, Value after) &&;
  Step appended() &&;
  /** Made once, whatever it answers. */
  Step once() &&;
  Step depending(std::function<std::optional<Value>(const std::vector<Access>&)> value_of) &&;
};

Step read(std::string name, Value answer);
Step write(std::string name, Value value);
Step read_at(std::uint32_t address, Value answer);
Step write_at(std::uint32_t address, Value value);
Step resolve(std::string name, Value of_its_type);
Step sync_exchange();
Step nmt_read(std::uint32_t state);
Step nmt_write(std::uint32_t command);
/** An operation inside an operation: its first failure ends it, and a failing call is itself made again. */
Step call(std::vector<Step> steps);

/** What goes wrong during one run. */
struct Faults {
  std::map<std::size_t, nkr_error_t> accesses;  ///< by the access's number, from 1
  std::size_t from = SIZE_MAX;                  ///< this access and all after it ...
  nkr_error_t from_code = NKR_OK;               ///< ... answer this
  std::set<std::string> missing;                ///< names that the description lacks
};

/** What a run does and leaves. Records are compared without their lines. */
struct Outcome {
  nkr_error_t result = NKR_OK;
  bool completed = true;  ///< every step succeeded at its first attempt
  Values outputs;
  std::vector<Access> accesses;
  std::vector<LogEntry> records;
};

/** One service operation: what is called, what is then accessed, and what comes out. */
struct Operation {
  std::string name;
  std::string variant;  ///< tells several rows of one operation apart
  Values before;        ///< the outputs as the caller hands them in
  std::function<nkr_error_t(nkr::tavcore::CANOpenDispatcher&, Values& outputs)> call;
  std::vector<Step> steps;
  bool guarded = true;
  /** What the operation does by itself after its steps, in whatever way they ended: records, results. */
  std::function<void(Outcome&)> finish = [](Outcome&) {};
  /** Objects that must be in the description although no step names them, with their default texts. */
  std::vector<std::pair<std::string, std::string>> also_known;

  Operation as(std::string variant_name) &&;
  Operation unguarded() &&;
  Operation finishing(std::function<void(Outcome&)> effect) &&;
  Operation knowing(std::string name, std::string default_text) &&;
};

/** An operation that reads: `record` holds the outputs, `fields(record)` lists them. */
template <class Record, class Call, class Fields>
Operation getter(std::string name, const Record& record, Call call, Fields fields, std::vector<Step> steps) {
  Operation operation;
  operation.name = std::move(name);
  operation.before = fields(record);
  operation.call = [record, call, fields](nkr::tavcore::CANOpenDispatcher& dispatcher, Values& outputs) {
    Record filled = record;
    const nkr_error_t result = call(dispatcher, filled);
    outputs = fields(filled);
    return result;
  };
  operation.steps = std::move(steps);
  return operation;
}

/** A getter whose n-th step reads straight into its n-th output. */
template <class Record, class Call, class Fields>
Operation plain_getter(std::string name, const Record& record, Call call, Fields fields,
                       std::vector<Step> steps) {
  for (std::size_t i = 0; i < steps.size(); ++i) steps[i] = std::move(steps[i]).into(i);
  return getter(std::move(name), record, call, fields, std::move(steps));
}

/** An operation without outputs. */
template <class Call>
Operation setter(std::string name, Call call, std::vector<Step> steps) {
  Operation operation;
  operation.name = std::move(name);
  operation.call = [call](nkr::tavcore::CANOpenDispatcher& dispatcher, Values& /*none*/) {
    return call(dispatcher);
  };
  operation.steps = std::move(steps);
  return operation;
}

/** A description with the objects of the operation. */
[[nodiscard]] EdsFixture description_of(const Operation& operation);
/** Every name that the steps use, each with its type. */
[[nodiscard]] std::map<std::string, EdsFixture::DataType> objects_of(const Operation& operation);
/** Scripts the client with the answers of the reads. */
void script_answers(const Operation& operation, const EdsFixture& description, RecordingClient& client);
/** What the rules of repeating and recording make of the steps. Context and node id: see DispatcherBench. */
[[nodiscard]] Outcome predict(const Operation& operation, const EdsFixture& description,
                              const Faults& faults = {});
/** A value as records show it. */
[[nodiscard]] std::string record_text(const Value& value);
[[nodiscard]] EdsFixture::DataType type_of(const Value& value);

}  // namespace tavtest

#endif
