#include <tav/drive/VirtualDrive.hpp>
