#include <memory>
#include <string>
#include <tav/host/words.hpp>
#include <vector>

#include "commands/safety/SafetyCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "commands/session/Safety.hpp"
#include "text/Record.hpp"
#include "text/SafetyFields.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;

/** Reads, changes, writes and reads back the parameters of one instance, then sees that its signature fits.
 */
template <class Record, class Fields, class Read, class Write>
void set_parameters(Session& session, const std::string& name, const std::vector<std::string>& assignments,
                    Fields fields, Read read, Write write) {
  Record wanted{};
  unsigned short signature = 0;
  Quantities quantities(session);
  const FieldWords words = quantities.safety_words();
  session.check(read(wanted, signature), "read the parameters of " + name);
  assign_fields(assignments, wanted, fields, words);
  session.check(write(wanted), "write the parameters of " + name);
  Record held{};
  session.check(read(held, signature), "read the parameters of " + name + " back");
  show_record(session.output(), held, fields, words);
  const std::vector<std::string> different = differing_fields(wanted, held, fields);
  if (!different.empty()) {
    throw Failure(ExitCode::REFUSED,
                  "the drive holds other parameters of " + name + " than were written: " + joined(different));
  }
  see_signature(session, name);
  tell_not_stored(session.output());
}

struct SetArguments {
  std::string function;
  int instance = 1;
  std::vector<std::string> assignments;
};

void see_instance(const SetArguments& arguments, int most) {
  if (arguments.instance >= 1 && arguments.instance <= most) return;
  throw Failure(ExitCode::REFUSED, arguments.function + " has instances 1 to " + std::to_string(most));
}

ExitCode set(Context& context, const SetArguments& arguments) {
  constexpr int kSlsInstances = 8;
  constexpr int kSdiInstances = 2;
  constexpr int kSbcInstances = 3;
  const std::string name = arguments.function + " " + std::to_string(arguments.instance);
  const auto change = [&](auto id, auto fields, auto get, auto put, auto record, int most) {
    see_instance(arguments, most);
    Session session(context);
    see_not_enabled(session, "change safety parameters");
    Dispatcher& drive = *session.dispatcher();
    set_parameters<decltype(record)>(
        session, name, arguments.assignments, fields,
        [&](auto& values, unsigned short& signature) { return (drive.*get)(id, values, signature); },
        [&](const auto& values) { return (drive.*put)(id, values); });
  };
  if (arguments.function == "STO") {
    change(Dispatcher::STOId{arguments.instance}, kStoFields, &Dispatcher::getSTOParameters,
           &Dispatcher::setSTOParameters, Dispatcher::STOParameters{}, 1);
  } else if (arguments.function == "SLS") {
    change(Dispatcher::SLSId{arguments.instance}, kSlsFields, &Dispatcher::getSLSParameters,
           &Dispatcher::setSLSParameters, Dispatcher::SLSParameters{}, kSlsInstances);
  } else if (arguments.function == "SDI") {
    change(Dispatcher::SDIId{arguments.instance}, kSdiFields, &Dispatcher::getSDIParameters,
           &Dispatcher::setSDIParameters, Dispatcher::SDIParameters{}, kSdiInstances);
  } else {
    change(Dispatcher::SBCId{arguments.instance}, kSbcFields, &Dispatcher::getSBCParameters,
           &Dispatcher::setSBCParameters, Dispatcher::SBCParameters{}, kSbcInstances);
  }
  return ExitCode::OK;
}

}  // namespace

void add_safety_parameters(Command& safety) {
  auto arguments = std::make_shared<SetArguments>();
  Command& command = safety.add(
      "set",
      "Change parameters of one safety function; parameters and signature are read back, and must fit");
  command.option("FUNCTION", arguments->function, "STO, SLS, SDI or SBC")
      .required()
      .one_of({"STO", "SLS", "SDI", "SBC"});
  command.option("INSTANCE", arguments->instance, "From 1").required();
  command.option("KEY=VALUE", arguments->assignments, "Fields, as below").required();
  command.footer(
      "Fields:\n  STO 1       " + field_keys<Dispatcher::STOParameters>(kStoFields) + "\n  SLS 1 to 8  " +
      field_keys<Dispatcher::SLSParameters>(kSlsFields) + "\n  SDI 1, 2    " +
      field_keys<Dispatcher::SDIParameters>(kSdiFields) + "\n  SBC 1 to 3  " +
      field_keys<Dispatcher::SBCParameters>(kSbcFields) +
      "\nVelocities and times may have units (0.3m/s, 50rpm, 200ms); error_reaction is STO or none."
      "\nThe signature is written behind them; the drive gives no torque while one does not fit.");
  command.on([arguments](Context& context) { return set(context, *arguments); });
}

}  // namespace tavctl
