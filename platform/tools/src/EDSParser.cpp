#include <nkr/tools/EDSParser.hpp>
