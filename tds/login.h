// What a client says before it may ask anything: pre-login and login.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/text.h"
#include "tsql/database.h"

namespace ledgerwick::tds {

// Versions of the protocol, in rising order. Rows with a map of their nulls came with 7.3, revision
// B.
enum class Version : std::uint8_t { V71, V72, V73A, V73B, V74 };

// How much of the connection is encrypted, as pre-login tells it.
enum class Encryption : std::uint8_t {
  Login = 0,         // the login alone
  Whole = 1,         // everything
  NotSupported = 2,  // nothing
  Required = 3,      // everything, or there is no connection
};

struct PreLogin {
  Encryption encryption = Encryption::NotSupported;
  bool wants_several_results = false;  // at once (MARS)
};

// Reads a pre-login message. Throws ProtocolError.
PreLogin ParsePreLogin(std::string_view message);

// The answer to one.
std::string PreLoginAnswer(Encryption encryption);

struct Login {
  Version version = Version::V71;
  std::uint32_t packet_size = 0;  // 0 for the usual
  bool integrated = false;        // by the system's account instead of a password
  Text host;
  Text user;
  Text password;
  Text application;
  Text language;
  Text database;
};

// Reads a login message. Throws ProtocolError, also for versions before 7.1.
Login ParseLogin(std::string_view message);

// The number by which a login's answer tells the version.
std::uint32_t VersionNumber(Version version) noexcept;

// What the service says it is.
inline constexpr TextView kProgramName = u"Ledgerwick";
inline constexpr std::uint8_t kProgramMajor = tsql::kServerMajor;
inline constexpr std::uint8_t kProgramMinor = tsql::kServerMinor;
inline constexpr std::uint16_t kProgramBuild = tsql::kServerBuild;

}  // namespace ledgerwick::tds
