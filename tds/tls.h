// Encryption of a connection.
#pragma once

#include <filesystem>
#include <memory>

#include "tds/channel.h"
#include "tds/packets.h"

namespace ledgerwick::tds {

// A certificate with its key, for every connection of a service.
class TlsIdentity {
 public:
  virtual ~TlsIdentity() = default;

  // Reads both from PEM files. Throws std::runtime_error that says which file is not right and why.
  static std::unique_ptr<TlsIdentity> Load(const std::filesystem::path& certificate,
                                           const std::filesystem::path& key);

  // Shakes hands with the client in pre-login packets of `packets`. Everything that the result
  // reads and writes then goes encrypted over `below`. All three outlive it. Throws ConnectionLost
  // and ProtocolError.
  virtual std::unique_ptr<Channel> Accept(Channel& below, PacketStream& packets) = 0;
};

}  // namespace ledgerwick::tds
