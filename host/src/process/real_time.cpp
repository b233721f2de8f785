#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/utsname.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <tav/host/real_time.hpp>

namespace tav::host {

namespace {

/** As much of the stack is touched as a cycle may need: its pages are there, then. */
constexpr std::size_t kStack = 64 * 1024;

void touch_stack() {
  std::array<unsigned char, kStack> stack{};
  volatile unsigned char* const first = stack.data();
  constexpr std::size_t kPage = 4096;
  for (std::size_t i = 0; i < stack.size(); i += kPage) first[i] = 1;
}

RealTimeReport::Item schedule(int priority) {
  RealTimeReport::Item item{"scheduling class SCHED_FIFO " + std::to_string(priority), false, {}};
  sched_param parameter{};
  parameter.sched_priority = priority;
  const int error = ::pthread_setschedparam(::pthread_self(), SCHED_FIFO, &parameter);
  item.is_granted = error == 0;
  if (error == EPERM) {
    item.remedy = "allow it: LimitRTPRIO=" + std::to_string(priority) +
                  " of a service, or \"rtprio\" in /etc/security/limits.conf";
  } else if (error != 0) {
    item.remedy = std::strerror(error);
  }
  return item;
}

RealTimeReport::Item lock_memory() {
  RealTimeReport::Item item{"locked memory", ::mlockall(MCL_CURRENT | MCL_FUTURE) == 0, {}};
  if (item.is_granted) {
    touch_stack();
  } else {
    item.remedy = "allow it: LimitMEMLOCK=infinity of a service, or \"memlock\" in /etc/security/limits.conf";
  }
  return item;
}

RealTimeReport::Item bind(int cpu) {
  RealTimeReport::Item item{"CPU " + std::to_string(cpu), false, {}};
  cpu_set_t set;
  CPU_ZERO(&set);
  if (cpu < CPU_SETSIZE) CPU_SET(static_cast<std::size_t>(cpu), &set);
  const int error = ::pthread_setaffinity_np(::pthread_self(), sizeof(set), &set);
  item.is_granted = error == 0;
  if (error != 0) item.remedy = "name a CPU that there is: see lscpu";
  return item;
}

/** Some such kernels lack the file, others the word. */
bool has_real_time_kernel() {
  utsname names{};
  if (::uname(&names) == 0 && std::strstr(static_cast<const char*>(names.version), "PREEMPT_RT") != nullptr) {
    return true;
  }
  std::ifstream file("/sys/kernel/realtime");
  char flag = '0';
  return file.get(flag) && flag == '1';
}

}  // namespace

RealTimeReport real_time(const RealTimeSettings& settings) {
  RealTimeReport report;
  report.is_real_time_kernel = has_real_time_kernel();
  if (settings.priority > 0) report.items.push_back(schedule(settings.priority));
  if (settings.lock_memory) report.items.push_back(lock_memory());
  if (settings.cpu >= 0) report.items.push_back(bind(settings.cpu));
  return report;
}

std::string text(const RealTimeReport& report) {
  std::string all = report.is_real_time_kernel ? "kernel: PREEMPT_RT" : "kernel: not PREEMPT_RT";
  for (const RealTimeReport::Item& item : report.items) {
    all += '\n' + item.name + (item.is_granted ? ": granted" : ": refused; " + item.remedy);
  }
  return all;
}

}  // namespace tav::host
