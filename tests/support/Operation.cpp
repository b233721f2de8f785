#include "Operation.hpp"

#include <cstdio>
#include <stdexcept>
#include <type_traits>

#include "DispatcherBench.hpp"

namespace tavtest {

namespace {

Step step_of(Step::Kind kind, std::string name, std::uint32_t address, Value value) {
  Step step;
  step.kind = kind;
  step.name = std::move(name);
  step.address = address;
  step.value = std::move(value);
  return step;
}

bool is_named(const Step& step) {
  return !step.name.empty();
}

/** Walks the steps as the rules say and notes what happens. */
class Prediction {
 public:
  Prediction(const EdsFixture& description, const Faults& faults, Values outputs)
      : description_(description), faults_(faults) {
    outcome_.outputs = std::move(outputs);
  }

  nkr_error_t run(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      nkr_error_t result = attempt(step);
      if (result == NKR_OK) {
        fill(step, true);
        continue;
      }
      outcome_.completed = false;
      return step.repeated ? attempt(step) : result;
    }
    return NKR_OK;
  }

  Outcome take(nkr_error_t result) && {
    outcome_.result = result;
    return std::move(outcome_);
  }

 private:
  nkr_error_t attempt(Step step) {
    if (step.computed) step.value = step.computed(outcome_.accesses).value_or(step.value);
    if (step.kind == Step::Kind::CALL) return run(step.steps);
    if (is_named(step) && faults_.missing.count(step.name) != 0) {
      note(kFailure, function_of(step), "Object " + step.name + " not found !");
      return NKR_NOT_AVAILABLE;
    }
    if (step.kind == Step::Kind::RESOLVE) return NKR_OK;
    const nkr_error_t result = next_result();
    note_access(step, result);
    note_record(step, result);
    if (result == NKR_OK) fill(step, false);
    return result;
  }

  nkr_error_t next_result() const {
    const std::size_t nth = outcome_.accesses.size() + 1;
    const auto found = faults_.accesses.find(nth);
    if (found != faults_.accesses.end()) return found->second;
    return nth >= faults_.from ? faults_.from_code : NKR_OK;
  }

  void note_access(const Step& step, nkr_error_t result) {
    Access access{AccessKind::READ, DispatcherBench::kNode, address_of(step), step.value};
    switch (step.kind) {
      case Step::Kind::WRITE:
      case Step::Kind::WRITE_AT:
        access.kind = AccessKind::WRITE;
        break;
      case Step::Kind::SYNC:
        access.kind = AccessKind::SYNC;
        break;
      case Step::Kind::NMT_READ:
        access.kind = AccessKind::NMT_READ;
        break;
      case Step::Kind::NMT_WRITE:
        access.kind = AccessKind::NMT_WRITE;
        break;
      default:
        break;
    }
    const bool reads = access.kind == AccessKind::READ || access.kind == AccessKind::NMT_READ;
    if (reads && result != NKR_OK) access.value = zero_of(access.value);
    outcome_.accesses.push_back(access);
  }

  void note_record(const Step& step, nkr_error_t result) {
    const std::string at =
        " nodeId=" + std::to_string(DispatcherBench::kNode) + " address=" + std::to_string(address_of(step));
    const std::string named = is_named(step) ? at + " (" + step.name + ")" : at;
    const bool ok = result == NKR_OK;
    switch (step.kind) {
      case Step::Kind::READ:
        note(ok ? kTrace : kFailure, "get_value", "getValue" + named + (ok ? "" : " : failed !"));
        break;
      case Step::Kind::READ_AT:
        if (!ok) note(kFailure, "get_value_by_address", "getValue" + at);
        break;
      case Step::Kind::WRITE:
        note_write(named, step.value, ok, "log_set_success", "set_value");
        break;
      case Step::Kind::WRITE_AT:
        note_write(at, step.value, ok, "log_set_success_address", "set_value_by_address");
        break;
      default:
        break;
    }
  }

  void note_write(const std::string& at, const Value& value, bool ok, const char* on_success,
                  const char* on_failure) {
    if (ok) {
      note(kTrace, on_success, "setValue" + at + " : " + record_text(value));
    } else {
      note(kFailure, on_failure, "setValue" + at + " : failed !");
    }
  }

  void note(std::uint32_t level, const std::string& function, const std::string& text) {
    outcome_.records.push_back({DispatcherBench::kContext, level, function, 0, "CANOpenDispatcher", text});
  }

  void fill(const Step& step, bool first_attempt) {
    for (const Fill& fill : step.fills) {
      if ((fill.when == Fill::When::STORED) == first_attempt) continue;
      if (fill.when == Fill::When::APPENDED) {
        outcome_.outputs.push_back(fill.value);
      } else {
        outcome_.outputs.at(fill.output) = fill.value;
      }
    }
  }

  static const char* function_of(const Step& step) {
    if (step.kind == Step::Kind::RESOLVE) return "get_address";
    return step.kind == Step::Kind::READ ? "get_value" : "set_value";
  }

  std::uint32_t address_of(const Step& step) const {
    return is_named(step) ? description_.address(step.name) : step.address;
  }

  static Value zero_of(const Value& value) {
    return std::visit([](const auto& content) { return Value(std::decay_t<decltype(content)>{}); }, value);
  }

  static constexpr std::uint32_t kFailure = 2;
  static constexpr std::uint32_t kTrace = 5;

  const EdsFixture& description_;
  const Faults& faults_;
  Outcome outcome_;
};

template <class Visit>
void visit_steps(const std::vector<Step>& steps, const Visit& visit) {
  for (const Step& step : steps) {
    visit(step);
    visit_steps(step.steps, visit);
  }
}

}  // namespace

Step Step::into(std::size_t output) && {
  fills.push_back({Fill::When::STORED, output, value});
  return std::move(*this);
}

Step Step::converted(std::size_t output, Value after) && {
  fills.push_back({Fill::When::CONVERTED, output, std::move(after)});
  return std::move(*this);
}

Step Step::appended() && {
  fills.push_back({Fill::When::APPENDED, 0, value});
  return std::move(*this);
}

Step Step::once() && {
  repeated = false;
  return std::move(*this);
}

Step Step::depending(std::function<std::optional<Value>(const std::vector<Access>&)> value_of) && {
  computed = std::move(value_of);
  return std::move(*this);
}

Step read(std::string name, Value answer) {
  return step_of(Step::Kind::READ, std::move(name), 0, std::move(answer));
}

Step write(std::string name, Value value) {
  return step_of(Step::Kind::WRITE, std::move(name), 0, std::move(value));
}

Step read_at(std::uint32_t address, Value answer) {
  return step_of(Step::Kind::READ_AT, {}, address, std::move(answer));
}

Step write_at(std::uint32_t address, Value value) {
  return step_of(Step::Kind::WRITE_AT, {}, address, std::move(value));
}

Step resolve(std::string name, Value of_its_type) {
  return step_of(Step::Kind::RESOLVE, std::move(name), 0, std::move(of_its_type));
}

Step sync_exchange() {
  return step_of(Step::Kind::SYNC, {}, 0, {}).once();
}

Step nmt_read(std::uint32_t state) {
  return step_of(Step::Kind::NMT_READ, {}, 0, state).once();
}

Step nmt_write(std::uint32_t command) {
  return step_of(Step::Kind::NMT_WRITE, {}, 0, command).once();
}

Step call(std::vector<Step> steps) {
  Step step;
  step.kind = Step::Kind::CALL;
  step.steps = std::move(steps);
  return step;
}

Operation Operation::as(std::string variant_name) && {
  variant = std::move(variant_name);
  return std::move(*this);
}

Operation Operation::unguarded() && {
  guarded = false;
  return std::move(*this);
}

Operation Operation::finishing(std::function<void(Outcome&)> effect) && {
  finish = std::move(effect);
  return std::move(*this);
}

Operation Operation::knowing(std::string object, std::string default_text) && {
  also_known.emplace_back(std::move(object), std::move(default_text));
  return std::move(*this);
}

std::map<std::string, EdsFixture::DataType> objects_of(const Operation& operation) {
  std::map<std::string, EdsFixture::DataType> objects;
  visit_steps(operation.steps, [&](const Step& step) {
    if (is_named(step)) objects.emplace(step.name, type_of(step.value));
  });
  return objects;
}

EdsFixture description_of(const Operation& operation) {
  EdsFixture description;
  for (const auto& [name, type] : objects_of(operation)) description.add(name, type);
  for (const auto& [name, default_text] : operation.also_known) {
    description.add(name, EdsFixture::DataType::UNSIGNED8, default_text);
  }
  return description;
}

void script_answers(const Operation& operation, const EdsFixture& description, RecordingClient& client) {
  visit_steps(operation.steps, [&](const Step& step) {
    if (step.kind == Step::Kind::READ) client.answer(description.address(step.name), step.value);
    if (step.kind == Step::Kind::READ_AT) client.answer(step.address, step.value);
    if (step.kind == Step::Kind::NMT_READ) {
      client.nmt_state = static_cast<RecordingClient::NMTState>(std::get<std::uint32_t>(step.value));
    }
  });
}

Outcome predict(const Operation& operation, const EdsFixture& description, const Faults& faults) {
  Prediction prediction(description, faults, operation.before);
  const nkr_error_t result = prediction.run(operation.steps);
  Outcome outcome = std::move(prediction).take(result);
  operation.finish(outcome);
  return outcome;
}

std::string record_text(const Value& value) {
  return std::visit(
      [](const auto& content) -> std::string {
        using T = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return {};
        } else if constexpr (std::is_same_v<T, std::string>) {
          return content;
        } else if constexpr (std::is_floating_point_v<T>) {
          char text[64];  // the tests run in the "C" locale
          std::snprintf(text, sizeof text, "%f", static_cast<double>(content));
          return text;
        } else {
          return std::to_string(content);
        }
      },
      value);
}

EdsFixture::DataType type_of(const Value& value) {
  using Type = EdsFixture::DataType;
  if (std::holds_alternative<bool>(value)) return Type::BOOLEAN;
  if (std::holds_alternative<std::int8_t>(value)) return Type::INTEGER8;
  if (std::holds_alternative<std::uint8_t>(value)) return Type::UNSIGNED8;
  if (std::holds_alternative<std::int16_t>(value)) return Type::INTEGER16;
  if (std::holds_alternative<std::uint16_t>(value)) return Type::UNSIGNED16;
  if (std::holds_alternative<std::int32_t>(value)) return Type::INTEGER32;
  if (std::holds_alternative<std::uint32_t>(value)) return Type::UNSIGNED32;
  if (std::holds_alternative<float>(value)) return Type::REAL32;
  if (std::holds_alternative<std::string>(value)) return Type::VISIBLE_STRING;
  throw std::logic_error("no object of the drive has such a type");
}

}  // namespace tavtest
