#include "tds/login.h"

#include "tds/bytes.h"

namespace ledgerwick::tds {
namespace {

// Options of pre-login.
enum class Option : std::uint8_t {
  Version = 0,
  Encryption = 1,
  Instance = 2,
  Thread = 3,
  Mars = 4
};
constexpr std::uint8_t kEndOfOptions = 0xFF;

constexpr unsigned kIntegratedSecurity = 0x80;  // in the second byte of options

std::uint16_t BigEndian16(ByteReader& reader) {
  const unsigned high = reader.U8();
  return static_cast<std::uint16_t>(high << 8 | reader.U8());
}

// A text of the login: its place in the message and its length in units.
Text TextAt(std::string_view message, ByteReader& places) {
  const std::size_t at = places.U16();
  const std::size_t units = places.U16();
  if (units == 0) return {};
  if (at > message.size()) throw ProtocolError("a text of the login lies outside it");
  return ByteReader(message.substr(at)).Units(units);
}

// Passwords come with the halves of their bytes exchanged and every other bit turned.
Text PlainPassword(Text hidden) {
  for (char16_t& unit : hidden) {
    const unsigned turned = unit ^ 0xA5A5U;
    unit = static_cast<char16_t>((turned & 0x0F0FU) << 4 | (turned & 0xF0F0U) >> 4);
  }
  return hidden;
}

Version ParseVersion(std::uint32_t number) {
  constexpr std::uint32_t kRevisionB = 0x730B0003;
  switch (number >> 24) {
    case 0x71:
      return Version::V71;
    case 0x72:
      return Version::V72;
    case 0x73:
      return number >= kRevisionB ? Version::V73B : Version::V73A;
    default:
      if (number >> 24 < 0x71) {
        throw ProtocolError("the client speaks a version before 7.1, which is not known here");
      }
      return Version::V74;  // the newest, which the client goes back to
  }
}

}  // namespace

PreLogin ParsePreLogin(std::string_view message) {
  PreLogin result;
  ByteReader options(message);
  for (;;) {
    const std::uint8_t option = options.U8();
    if (option == kEndOfOptions) return result;
    const std::size_t at = BigEndian16(options);
    const std::size_t length = BigEndian16(options);
    if (at > message.size()) throw ProtocolError("an option of pre-login lies outside it");
    ByteReader value(message.substr(at));
    if (length > value.left()) throw ProtocolError("an option of pre-login is longer than it");
    if (length == 0) continue;
    if (option == static_cast<std::uint8_t>(Option::Encryption)) {
      const std::uint8_t wanted = value.U8();
      if (wanted > static_cast<std::uint8_t>(Encryption::Required)) {
        throw ProtocolError("pre-login asks for an encryption that is not known");
      }
      result.encryption = static_cast<Encryption>(wanted);
    } else if (option == static_cast<std::uint8_t>(Option::Mars)) {
      result.wants_several_results = value.U8() != 0;
    }
  }
}

std::string PreLoginAnswer(Encryption encryption) {
  const std::string version = {static_cast<char>(kProgramMajor),
                               static_cast<char>(kProgramMinor),
                               static_cast<char>(kProgramBuild >> 8),
                               static_cast<char>(kProgramBuild & 0xFF),
                               0,
                               0};
  const struct {
    Option option;
    std::string value;
  } options[] = {
      {Option::Version, version},
      {Option::Encryption, std::string(1, static_cast<char>(encryption))},
      {Option::Instance, std::string(1, '\0')},
      {Option::Thread, {}},
      {Option::Mars, std::string(1, '\0')},  // never: one request at a time
  };
  constexpr std::size_t kEntry = 5;
  std::string head;
  std::string values;
  const std::size_t head_size = std::size(options) * kEntry + 1;
  const auto put = [&](std::size_t number) {
    head += static_cast<char>(number >> 8);
    head += static_cast<char>(number);
  };
  for (const auto& [option, value] : options) {
    head += static_cast<char>(option);
    put(head_size + values.size());
    put(value.size());
    values += value;
  }
  head += static_cast<char>(kEndOfOptions);
  return head + values;
}

Login ParseLogin(std::string_view message) {
  ByteReader reader(message);
  Login login;
  const std::uint32_t length = reader.U32();
  if (length > message.size()) throw ProtocolError("a login is longer than its message");
  message = message.substr(0, length);
  login.version = ParseVersion(reader.U32());
  login.packet_size = reader.U32();
  constexpr std::size_t kProgramAndProcess = 12;
  reader.Take(kProgramAndProcess);
  reader.U8();
  login.integrated = (reader.U8() & kIntegratedSecurity) != 0;
  constexpr std::size_t kFlagsZoneAndLanguage = 10;
  reader.Take(kFlagsZoneAndLanguage);
  login.host = TextAt(message, reader);
  login.user = TextAt(message, reader);
  login.password = PlainPassword(TextAt(message, reader));
  login.application = TextAt(message, reader);
  TextAt(message, reader);  // the server, as the client calls it
  reader.U32();             // extensions, none of which is known
  TextAt(message, reader);  // the client's library
  login.language = TextAt(message, reader);
  login.database = TextAt(message, reader);
  return login;
}

std::uint32_t VersionNumber(Version version) noexcept {
  switch (version) {
    case Version::V71:
      return 0x71000001;
    case Version::V72:
      return 0x72090002;
    case Version::V73A:
      return 0x730A0003;
    case Version::V73B:
      return 0x730B0003;
    default:
      return 0x74000004;
  }
}

}  // namespace ledgerwick::tds
