#include <nkr/canopen/Client.hpp>
