#include <nkr/tools/HardwareHelper.hpp>
