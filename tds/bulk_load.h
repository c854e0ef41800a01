// Bulk loads: the statement that announces one, and the message with its rows.
#pragma once

#include <vector>

#include "frame/text.h"
#include "frame/value.h"
#include "tds/client_type.h"
#include "tds/login.h"

namespace ledgerwick::tds {

// What INSERT BULK names.
struct BulkTarget {
  Text table;                 // as written
  std::vector<Text> columns;  // without quotes and brackets
};

// Whether `batch` begins with INSERT BULK.
bool IsInsertBulk(TextView batch);

// INSERT BULK table (column type, …) [WITH (…)]. What stands behind WITH changes nothing but the
// speed, or asks for what is done anyway. Throws DatabaseError 102 for any other text.
BulkTarget ParseInsertBulk(TextView batch);

// A column of the rows that a client sends.
struct BulkColumn {
  Text name;
  ClientType type;
};

// The columns with which the message begins. Throws as ReadClientType does.
std::vector<BulkColumn> ReadBulkColumns(ByteReader& reader, Version version);

// The next row's values, or false at the end of the rows. Throws ProtocolError, and DatabaseError
// 4815 for a value that is longer than its column's type.
bool ReadBulkRow(ByteReader& reader, const std::vector<BulkColumn>& columns,
                 std::vector<Value>& values);

}  // namespace ledgerwick::tds
