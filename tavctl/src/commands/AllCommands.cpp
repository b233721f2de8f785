#include "commands/AllCommands.hpp"

namespace tavctl {

void add_all(Command& program) {
  add_doctor(program);
  add_setup(program);
  add_scan(program);
  add_info(program);
  add_state(program);
  add_watch(program);
  add_read_write(program);
  add_list(program);
  add_eds(program);
  add_power(program);
  add_velocity(program);
  add_motion(program);
  add_group(program);
  add_drive(program);
  add_errors(program);
  add_emcy(program);
  add_nmt(program);
  add_settings(program);
  add_sniff(program);
  add_trace(program);
  add_comm_test(program);
  add_cycle_test(program);
  add_safety(program);
  add_network(program);
  add_communication(program);
  add_pdo(program);
  add_manufacturer(program);
  add_store_and_restore(program);
  add_config(program);
}

}  // namespace tavctl
