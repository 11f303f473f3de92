#include <unistd.h>

#include "platform/Users.h"

namespace platform {

uid_t effectiveUser() { return ::geteuid(); }

bool setEffectiveUser(uid_t uid) { return ::seteuid(uid) == 0; }

} // namespace platform
