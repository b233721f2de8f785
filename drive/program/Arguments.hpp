#ifndef TAV_DRIVE_PROGRAM_ARGUMENTS_HPP
#define TAV_DRIVE_PROGRAM_ARGUMENTS_HPP

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tav::drive {

/** What the user of the program asks for. */
struct Arguments {
  std::string bus;
  std::string eds;
  std::string config;
  std::string store;
  std::string scenario;
  std::string motor = "agv-200mm";
  std::string timing = "typical";
  std::string fleet;
  std::string junit;
  std::string log;
  std::string events;
  std::vector<std::uint8_t> nodes{0};  ///< 0: the description's own
  std::uint64_t seed = 1;
  std::uint32_t bit_rate = 0;         ///< of the bus in virtual time; 0: frames take no time
  double bus_errors = 0;              ///< part of the frames that are disturbed on it
  std::chrono::milliseconds time{0};  ///< how long it runs; 0: until it is stopped
  bool virtual_time = false;
  bool console = false;
  bool help = false;
  bool version = false;
};

/** Reads the words behind the program's name. @return false, and what is wrong in `problem` */
bool read_arguments(const std::vector<std::string>& words, Arguments& arguments, std::string& problem);

/** The text of --help. */
[[nodiscard]] std::string help_text();

/** Node ids such as "3", "1..127" or "1,2,5". @return empty when the text is none */
[[nodiscard]] std::vector<std::uint8_t> read_nodes(const std::string& text);

}  // namespace tav::drive

#endif
