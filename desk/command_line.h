// A request as the command that runs it.
#pragma once

#include <string>

#include "host/request.h"

namespace ledgerwick::desk {

// "ledgerwick run CLASS --filter …", words quoted for a shell. `connection` without passwords.
std::string CommandOf(const Request& request, const Text& connection);

}  // namespace ledgerwick::desk
