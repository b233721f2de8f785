#include <nkr/tools/StringUtility.hpp>
