#include <nkr/tools/INIParser.hpp>
