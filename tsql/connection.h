// The embedded database behind the component's Connection.
#pragma once

#include <memory>

#include "frame/database.h"
#include "tsql/database.h"

namespace ledgerwick::tsql {

// The start of a connection string that names an embedded database: "embedded:PATH".
inline constexpr TextView kEmbeddedPrefix = u"embedded:";

// A connection to an embedded database, opened by the text "embedded:PATH".
class EmbeddedConnection : public Connection {
 public:
  // `options` apply to the databases that Open opens.
  static std::shared_ptr<EmbeddedConnection> New(const DatabaseOptions& options);

  // The open database. Throws when the connection is closed. Valid until Close.
  virtual Database& database() = 0;
};

}  // namespace ledgerwick::tsql
