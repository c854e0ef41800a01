// Parameters of calls, as clients send them, turned into what T-SQL says.
#pragma once

#include "frame/text.h"
#include "tds/bytes.h"

namespace ledgerwick::tds {

struct Parameter {
  Text name;  // with its @; empty where it is given by position
  bool output = false;
  bool is_default = false;  // the procedure's default is wanted
  Text type;                // as T-SQL declares it
  Text literal;             // the value, as T-SQL writes it
  Text text;                // the value of a text; empty for others
};

// Reads the next parameter. Throws as ReadClientType and ReadClientValue do.
Parameter ReadParameter(ByteReader& reader);

// `declarations` ("@a datetime2(7), @b int") with the types that the database lacks replaced in the
// same way.
Text TranslateDeclarations(TextView declarations);

}  // namespace ledgerwick::tds
