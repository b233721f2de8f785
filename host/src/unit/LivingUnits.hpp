#ifndef TAV_HOST_SRC_UNIT_LIVINGUNITS_HPP
#define TAV_HOST_SRC_UNIT_LIVINGUNITS_HPP

#include <functional>

namespace tav::host {

/** Who is to be stopped when the program calls exit(), or returns from main, with a unit still living. */
class LivingUnits {
 public:
  /** Adds a function that exit() calls, on whatever thread that comes, in the process that adds it alone: not
   * in a child that it forks. */
  static int add(std::function<void()> stop);
  /** The function is called no more, but may be under way on the thread that called exit(). */
  static void remove(int number);
};

}  // namespace tav::host

#endif
