// Owns the embedded database for the tests under Wine: serves the ADO double over the
// loopback until its standard input ends. Prints the port.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include "frame/error.h"
#include "frame/result_sink.h"
#include "output/value_text.h"
#include "tests/com/helper/wire.h"
#include "tsql/database.h"

namespace ledgerwick::com::testing {
namespace {

// A value with a letter for its kind.
std::string Encode(const Value& value, ColumnKind kind) {
  if (value.IsNull() || value.IsEmpty()) return "n";
  if (const auto* date = value.If<Date>()) return 't' + ShortestNumber(date->serial);
  if (const auto* number = value.If<double>()) return 'd' + ShortestNumber(*number);
  if (kind == ColumnKind::Decimal) return 'd' + ToUtf8(value.ToText());
  const char letter = kind == ColumnKind::Boolean ? 'b' : value.If<std::int64_t>() ? 'i' : 's';
  return letter + ToUtf8(value.ToText());
}

// A query's result: a row of names, then the rows.
class EncodingSink final : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    kinds_.clear();
    for (const ResultColumn& column : columns) {
      kinds_.push_back(column.kind);
      Add(ToUtf8(column.name));
    }
    EndRow();
  }
  void Row(std::span<const Value> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) Add(Encode(values[i], kinds_[i]));
    EndRow();
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  std::string text;

 private:
  void Add(const std::string& field) { text += field + kFieldEnd; }
  void EndRow() { text += kRowEnd; }

  std::vector<ColumnKind> kinds_;
};

// One connection of the double.
class Session {
 public:
  std::string Answer(const std::string& request) {
    try {
      return "+" + Perform(request.at(0), request.substr(1));
    } catch (const DatabaseError& error) {
      return "!" + std::to_string(error.number) + kFieldEnd + ToUtf8(error.source) + kFieldEnd +
             ToUtf8(error.description) + kFieldEnd;
    }
  }

 private:
  std::string Perform(char operation, const std::string& text) {
    // As ADO refuses them.
    if (operation == 'O' && database_) throw DatabaseError(3705, u"ADODB", u"open already");
    if (operation != 'O' && !database_) throw DatabaseError(3704, u"ADODB", u"closed");
    EncodingSink sink;
    if (operation == 'O') {
      database_ = tsql::Database::Open(text);
    } else if (operation == 'C') {
      database_.reset();
    } else {
      database_->Run(FromUtf8(text), sink);
    }
    return sink.text;
  }

  std::unique_ptr<tsql::Database> database_;
};

void Serve(int socket) {
  Session session;
  const auto receive = [socket](char* buffer, std::size_t size) {
    return recv(socket, buffer, size, 0);
  };
  for (std::string request; !(request = ReadMessage(receive)).empty();) {
    const std::string answer = session.Answer(request);
    for (std::size_t sent = 0; sent <= answer.size();) {  // with the null behind it
      const ssize_t n = send(socket, answer.c_str() + sent, answer.size() + 1 - sent, MSG_NOSIGNAL);
      if (n <= 0) break;
      sent += static_cast<std::size_t>(n);
    }
  }
  close(socket);
}

int Listen() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (listener < 0 || bind(listener, any, size) != 0 || listen(listener, 16) != 0 ||
      getsockname(listener, any, &size) != 0) {
    std::perror("listen on the loopback");
    return -1;
  }
  std::cout << ntohs(address.sin_port) << std::endl;
  return listener;
}

}  // namespace
}  // namespace ledgerwick::com::testing

// With --create PATH, makes an empty database there and ends.
int main(int argc, char** argv) {
  using namespace ledgerwick::com::testing;
  if (argc == 3 && std::string(argv[1]) == "--create") {
    ledgerwick::tsql::DatabaseOptions options;
    options.create = true;
    ledgerwick::tsql::Database::Open(argv[2], options);
    return 0;
  }
  const int listener = Listen();
  if (listener < 0) return 1;
  std::thread([] {
    while (std::cin.get() != std::istream::traits_type::eof()) {
    }
    std::_Exit(0);  // the listener waits for ever
  }).detach();
  while (true) std::thread(Serve, accept(listener, nullptr, nullptr)).detach();
}
