// What a database says of itself.
#pragma once

#include <string>
#include <vector>

#include "frame/result_sink.h"
#include "frame/text.h"

namespace ledgerwick {

struct SchemaObject {
  Text owner;  // its schema: dbo
  Text name;
  Text kind;        // table, view, procedure, function
  int columns = 0;  // 0 where the database does not tell
  Text key;         // the columns of its primary key, parted by commas

  // The name, behind its owner where that is not dbo.
  Text ShownName() const;

  // The same for a statement: [dbo].[name].
  Text QuotedName() const;
};

struct SchemaColumn {
  Text name;
  Text type;  // as CREATE TABLE takes it: "varchar(20)"
  bool nullable = true;
  Text default_value;  // as the database keeps it; empty for none
};

struct SchemaKey {
  Text name;
  Text kind;        // primary key, unique index, index, foreign key
  Text columns;     // parted by commas
  Text references;  // of a foreign key: the other table and its columns
};

// Reads the catalogue, in words that the embedded database and servers of every age answer alike:
// INFORMATION_SCHEMA, syscomments and the catalogue procedures. Every member throws DatabaseError.
class SchemaReader {
 public:
  // `database` outlives the reader.
  explicit SchemaReader(BatchRunner& database) : database_(database) {}

  // Goes to another database of the server.
  void Use(TextView database_name);

  // What the database calls itself.
  Text DatabaseName();

  // Tables and views, procedures and functions by name; those alone that are LIKE `pattern` where
  // one is given.
  std::vector<SchemaObject> Objects(TextView pattern = {});

  // The columns of a table or a view, in their order.
  std::vector<SchemaColumn> Columns(const SchemaObject& object);

  // The keys and indexes of a table.
  std::vector<SchemaKey> Keys(const SchemaObject& table);

  // The text that made a view, procedure or function; empty where the database keeps it to itself.
  Text Definition(const SchemaObject& object);

  // Every table's or view's name with each of its columns.
  std::vector<std::pair<Text, Text>> AllColumns();

 private:
  BatchRunner& database_;
};

}  // namespace ledgerwick
