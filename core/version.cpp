#include "zorvat_version.h"

namespace zorvat {

const char* version() noexcept { return ZORVAT_VERSION_STRING; }
int version_number() noexcept { return ZORVAT_VERSION_NUMBER; }

}  // namespace zorvat
