// Messages in packets: every message is cut into packets with a head of eight bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tds/channel.h"

namespace ledgerwick::tds {

enum class MessageType : std::uint8_t {
  Batch = 1,
  Call = 3,
  Answer = 4,
  Attention = 6,
  BulkLoad = 7,
  Transaction = 14,
  Login = 16,
  PreLogin = 18,
};

inline constexpr std::size_t kPacketHead = 8;
inline constexpr std::size_t kLeastPacket = 512;
inline constexpr std::size_t kUsualPacket = 4096;
inline constexpr std::size_t kMostPacket = 32767;

struct Message {
  MessageType type = MessageType::Batch;
  bool ignored = false;  // the client took it back while it sent it
  bool resets = false;   // the session is to be as after login first
  bool complete = true;  // false for the first packets of a bulk load
  std::string data;
};

// Reads messages from and writes answers to a channel.
class PacketStream {
 public:
  // `channel` outlives it. A message longer than `most_bytes` is a ProtocolError.
  PacketStream(Channel& channel, std::size_t most_bytes)
      : channel_(&channel), most_bytes_(most_bytes) {}

  // Goes on over another channel, which outlives it. Nothing that was read may be left over.
  void Use(Channel& channel);

  void set_most_bytes(std::size_t bytes) noexcept { most_bytes_ = bytes; }
  void set_packet_size(std::size_t bytes) noexcept { packet_size_ = bytes; }
  std::size_t packet_size() const noexcept { return packet_size_; }

  // The number that answers carry in their heads.
  void set_session(std::uint16_t number) noexcept { session_ = number; }

  // The next message; nothing once the client has closed between messages. Of a bulk load, which
  // may be of any length, the first packet. Throws ProtocolError and ConnectionLost.
  std::optional<Message> ReadMessage();

  // Appends the next packet of a message that is not complete.
  void ReadMore(Message& message);

  // The bytes that a message, or a value of a bulk load, may have.
  std::size_t most_bytes() const noexcept { return most_bytes_; }

  // True when the client has asked, since the last message, that what runs be stopped. Does not
  // wait. Throws ProtocolError for anything else that the client sends meanwhile, and
  // ConnectionLost when it has gone.
  bool ReadAttention();

  // Appends to the answer that is being written; sends what fills packets every so often.
  std::string& answer() noexcept { return answer_; }
  void SendFull();

  // Sends the rest as the answer's end.
  void EndAnswer() { EndMessage(MessageType::Answer); }
  void EndMessage(MessageType type);

 private:
  struct Head {
    MessageType type;
    unsigned status;
    std::size_t length;  // of what follows the head
  };

  bool Fill(std::size_t bytes);  // false at the channel's end
  Head ReadHead();
  void ReadPacket(const Head& head, Message& message);
  void PutPacket(MessageType type, std::string_view data, bool last);
  void Send();

  Channel* channel_;
  std::size_t most_bytes_;
  std::size_t packet_size_ = kUsualPacket;
  std::uint16_t session_ = 0;
  std::uint8_t packet_number_ = 0;
  std::string in_;
  std::size_t in_at_ = 0;
  std::string answer_;  // not yet in packets
  std::string out_;     // packets not yet sent
};

}  // namespace ledgerwick::tds
