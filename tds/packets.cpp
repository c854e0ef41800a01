#include "tds/packets.h"

#include <algorithm>
#include <array>

#include "tds/bytes.h"

namespace ledgerwick::tds {
namespace {

constexpr unsigned kEndOfMessage = 0x01;
constexpr unsigned kIgnore = 0x02;
constexpr unsigned kReset = 0x08;
constexpr unsigned kResetKeepTransaction = 0x10;

constexpr std::size_t kSendAtOnce = std::size_t{32} << 10;

bool IsRequest(unsigned type) noexcept {
  switch (static_cast<MessageType>(type)) {
    case MessageType::Batch:
    case MessageType::Call:
    case MessageType::Attention:
    case MessageType::BulkLoad:
    case MessageType::Transaction:
    case MessageType::Login:
    case MessageType::PreLogin:
      return true;
    default:
      return false;
  }
}

}  // namespace

void PacketStream::Use(Channel& channel) {
  if (in_at_ != in_.size()) throw ProtocolError("the client did not wait for the encryption");
  channel_ = &channel;
}

// Reads until `bytes` are there.
bool PacketStream::Fill(std::size_t bytes) {
  if (in_at_ == in_.size()) {
    in_.clear();
    in_at_ = 0;
  }
  while (in_.size() - in_at_ < bytes) {
    std::array<char, kUsualPacket> block;
    const std::size_t count = channel_->Read(block.data(), block.size());
    if (count == 0) return false;
    in_.append(block.data(), count);
  }
  return true;
}

PacketStream::Head PacketStream::ReadHead() {
  if (!Fill(kPacketHead)) throw ConnectionLost("the client closed within a message");
  const auto byte = [&](std::size_t i) -> unsigned {
    return static_cast<unsigned char>(in_[in_at_ + i]);
  };
  const unsigned type = byte(0);
  if (!IsRequest(type)) throw ProtocolError("no message has the type " + std::to_string(type));
  const std::size_t length = byte(2) << 8 | byte(3);
  if (length < kPacketHead || length > kMostPacket) {
    throw ProtocolError("a packet cannot have " + std::to_string(length) + " bytes");
  }
  const Head head{static_cast<MessageType>(type), byte(1), length - kPacketHead};
  in_at_ += kPacketHead;
  return head;
}

std::optional<Message> PacketStream::ReadMessage() {
  if (!Fill(1)) return std::nullopt;
  Message message;
  const Head head = ReadHead();
  message.type = head.type;
  message.resets = (head.status & (kReset | kResetKeepTransaction)) != 0;
  ReadPacket(head, message);
  while (!message.complete && message.type != MessageType::BulkLoad) ReadMore(message);
  return message;
}

void PacketStream::ReadMore(Message& message) {
  const Head head = ReadHead();
  if (head.type != message.type) throw ProtocolError("a message begins within another");
  ReadPacket(head, message);
}

void PacketStream::ReadPacket(const Head& head, Message& message) {
  if (head.length > most_bytes_ - std::min(most_bytes_, message.data.size())) {
    throw ProtocolError("a message has more than " + std::to_string(most_bytes_) + " bytes");
  }
  if (!Fill(head.length)) throw ConnectionLost("the client closed within a message");
  message.data.append(in_, in_at_, head.length);
  in_at_ += head.length;
  message.complete = (head.status & kEndOfMessage) != 0;
  message.ignored = message.complete && (head.status & kIgnore) != 0;
}

bool PacketStream::ReadAttention() {
  if (in_at_ == in_.size()) {
    if (!channel_->Ready()) return false;
    if (!Fill(1)) throw ConnectionLost("the client closed while a request ran");
  }
  const Head head = ReadHead();
  if (head.type != MessageType::Attention || head.length != 0) {
    throw ProtocolError("a request came before the answer to the one before it had ended");
  }
  return true;
}

void PacketStream::PutPacket(MessageType type, std::string_view data, bool last) {
  const std::size_t length = data.size() + kPacketHead;
  ByteWriter(out_)
      .U8(static_cast<unsigned>(type))
      .U8(last ? kEndOfMessage : 0)
      .U8(static_cast<unsigned>(length >> 8))
      .U8(static_cast<unsigned>(length & 0xFF))
      .U8(session_ >> 8)
      .U8(session_ & 0xFFU)
      .U8(++packet_number_)
      .U8(0)
      .Raw(data);
}

void PacketStream::Send() {
  channel_->Write(out_);
  out_.clear();
}

void PacketStream::SendFull() {
  if (answer_.size() < kSendAtOnce) return;
  // The last packet waits, since it may be the one that ends the message.
  const std::size_t room = packet_size_ - kPacketHead;
  const std::string_view all = answer_;
  std::size_t at = 0;
  for (; all.size() - at > room; at += room) {
    PutPacket(MessageType::Answer, all.substr(at, room), false);
  }
  answer_.erase(0, at);
  Send();
}

void PacketStream::EndMessage(MessageType type) {
  const std::size_t room = packet_size_ - kPacketHead;
  std::string_view rest = answer_;
  for (; rest.size() > room; rest.remove_prefix(room)) {
    PutPacket(type, rest.substr(0, room), false);
  }
  PutPacket(type, rest, true);
  answer_.clear();
  packet_number_ = 0;
  Send();
}

}  // namespace ledgerwick::tds
