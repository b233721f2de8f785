#include <nkr/log.h>
