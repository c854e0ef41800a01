#include "tsql/storage/system_procedures.h"

#include <array>

namespace ledgerwick::tsql {
namespace {

// Names are patterns, in which a backslash takes the next character's meaning away. What is asked
// of another database or owner has no rows.
constexpr TextView kDatabaseList =
    uR"(CREATE PROCEDURE sp_databases AS
SELECT name AS DATABASE_NAME, CAST(NULL AS int) AS DATABASE_SIZE, CAST(NULL AS varchar(254)) AS REMARKS
FROM sys.databases ORDER BY 1)";

constexpr TextView kTables =
    uR"(CREATE PROCEDURE sp_tables @table_name nvarchar(384) = NULL, @table_owner nvarchar(384) = NULL,
  @table_qualifier sysname = NULL, @table_type varchar(100) = NULL, @fUsePattern bit = 1 AS
IF @table_qualifier = '%' AND @table_owner = '' AND @table_name = ''
  SELECT name AS TABLE_QUALIFIER, CAST(NULL AS sysname) AS TABLE_OWNER, CAST(NULL AS sysname) AS TABLE_NAME,
    CAST(NULL AS varchar(32)) AS TABLE_TYPE, CAST(NULL AS varchar(254)) AS REMARKS FROM sys.databases ORDER BY 1
ELSE IF @table_owner = '%' AND @table_qualifier = '' AND @table_name = ''
  SELECT CAST(NULL AS sysname) AS TABLE_QUALIFIER, name AS TABLE_OWNER, CAST(NULL AS sysname) AS TABLE_NAME,
    CAST(NULL AS varchar(32)) AS TABLE_TYPE, CAST(NULL AS varchar(254)) AS REMARKS FROM sys.schemas ORDER BY 2
ELSE IF @table_type = '%' AND @table_qualifier = '' AND @table_owner = '' AND @table_name = ''
  SELECT CAST(NULL AS sysname) AS TABLE_QUALIFIER, CAST(NULL AS sysname) AS TABLE_OWNER,
    CAST(NULL AS sysname) AS TABLE_NAME, CAST(t.kind AS varchar(32)) AS TABLE_TYPE, CAST(NULL AS varchar(254)) AS REMARKS
  FROM (SELECT 'TABLE' AS kind UNION ALL SELECT 'VIEW' UNION ALL SELECT 'SYSTEM TABLE') AS t ORDER BY 4
ELSE
  SELECT TABLE_CATALOG AS TABLE_QUALIFIER, TABLE_SCHEMA AS TABLE_OWNER, TABLE_NAME,
    CAST(CASE TABLE_TYPE WHEN 'VIEW' THEN 'VIEW' ELSE 'TABLE' END AS varchar(32)) AS TABLE_TYPE,
    CAST(NULL AS varchar(254)) AS REMARKS
  FROM INFORMATION_SCHEMA.TABLES
  WHERE TABLE_NAME LIKE ISNULL(@table_name, '%') ESCAPE '\' AND TABLE_SCHEMA LIKE ISNULL(@table_owner, '%') ESCAPE '\'
    AND TABLE_CATALOG = ISNULL(@table_qualifier, TABLE_CATALOG)
    AND (@table_type IS NULL OR @table_type = '' OR @table_type = '%'
      OR CHARINDEX(CASE TABLE_TYPE WHEN 'VIEW' THEN '''VIEW''' ELSE '''TABLE''' END, @table_type) > 0)
  ORDER BY 4, 1, 2, 3)";

constexpr TextView kColumns =
    uR"(CREATE PROCEDURE sp_columns @table_name nvarchar(384), @table_owner nvarchar(384) = NULL,
  @table_qualifier sysname = NULL, @column_name nvarchar(384) = NULL, @ODBCVer int = 2 AS
SELECT DB_NAME() AS TABLE_QUALIFIER, CAST('dbo' AS sysname) AS TABLE_OWNER, tab AS TABLE_NAME, name AS COLUMN_NAME,
  CAST(CASE WHEN data_type = 93 AND @ODBCVer < 3 THEN 11 ELSE data_type END AS smallint) AS DATA_TYPE,
  type_name AS TYPE_NAME, size AS PRECISION, length AS LENGTH, scale AS SCALE, radix AS RADIX, nullable AS NULLABLE,
  CAST(NULL AS varchar(254)) AS REMARKS, def AS COLUMN_DEF,
  CAST(CASE WHEN data_type = 93 THEN 9 ELSE data_type END AS smallint) AS SQL_DATA_TYPE,
  CAST(CASE WHEN data_type = 93 THEN 3 END AS smallint) AS SQL_DATETIME_SUB, octets AS CHAR_OCTET_LENGTH,
  ord AS ORDINAL_POSITION, CAST(CASE nullable WHEN 1 THEN 'YES' ELSE 'NO' END AS varchar(254)) AS IS_NULLABLE,
  old_type AS SS_DATA_TYPE
FROM sys.ledgerwick_columns
WHERE tab LIKE @table_name ESCAPE '\' AND name LIKE ISNULL(@column_name, '%') ESCAPE '\'
  AND 'dbo' LIKE ISNULL(@table_owner, '%') ESCAPE '\' AND ISNULL(@table_qualifier, DB_NAME()) = DB_NAME()
ORDER BY 1, 2, 3, 17)";

constexpr TextView kPrimaryKeys =
    uR"(CREATE PROCEDURE sp_pkeys @table_name sysname, @table_owner sysname = NULL, @table_qualifier sysname = NULL AS
SELECT DB_NAME() AS TABLE_QUALIFIER, CAST('dbo' AS sysname) AS TABLE_OWNER, tab AS TABLE_NAME, name AS COLUMN_NAME,
  ord AS KEY_SEQ, key_name AS PK_NAME
FROM sys.ledgerwick_keys
WHERE tab = @table_name AND ISNULL(@table_owner, 'dbo') = 'dbo' AND ISNULL(@table_qualifier, DB_NAME()) = DB_NAME()
ORDER BY 1, 2, 3, 5)";

constexpr TextView kForeignKeys =
    uR"(CREATE PROCEDURE sp_fkeys @pktable_name sysname = NULL, @pktable_owner sysname = NULL,
  @pktable_qualifier sysname = NULL, @fktable_name sysname = NULL, @fktable_owner sysname = NULL,
  @fktable_qualifier sysname = NULL AS
SELECT DB_NAME() AS PKTABLE_QUALIFIER, CAST('dbo' AS sysname) AS PKTABLE_OWNER, r.referenced AS PKTABLE_NAME,
  r.referenced_col AS PKCOLUMN_NAME, DB_NAME() AS FKTABLE_QUALIFIER, CAST('dbo' AS sysname) AS FKTABLE_OWNER,
  r.tab AS FKTABLE_NAME, r.col AS FKCOLUMN_NAME, r.ord AS KEY_SEQ,
  CAST(CASE r.on_update WHEN 0 THEN 1 WHEN 1 THEN 0 ELSE r.on_update END AS smallint) AS UPDATE_RULE,
  CAST(CASE r.on_delete WHEN 0 THEN 1 WHEN 1 THEN 0 ELSE r.on_delete END AS smallint) AS DELETE_RULE,
  r.name AS FK_NAME, (SELECT MIN(k.key_name) FROM sys.ledgerwick_keys k WHERE k.tab = r.referenced) AS PK_NAME,
  CAST(7 AS smallint) AS DEFERRABILITY
FROM sys.ledgerwick_references r
WHERE r.referenced = ISNULL(@pktable_name, r.referenced) AND r.tab = ISNULL(@fktable_name, r.tab)
ORDER BY 7, 3, 12, 9)";

constexpr TextView kSpecialColumns =
    uR"(CREATE PROCEDURE sp_special_columns @table_name sysname, @table_owner sysname = NULL, @qualifier sysname = NULL,
  @col_type char(1) = 'R', @scope char(1) = 'T', @nullable char(1) = 'U', @ODBCVer int = 2 AS
SELECT CAST(1 AS smallint) AS SCOPE, c.name AS COLUMN_NAME,
  CAST(CASE WHEN c.data_type = 93 AND @ODBCVer < 3 THEN 11 ELSE c.data_type END AS smallint) AS DATA_TYPE,
  c.type_name AS TYPE_NAME, c.size AS PRECISION, c.length AS LENGTH, c.scale AS SCALE,
  CAST(1 AS smallint) AS PSEUDO_COLUMN
FROM sys.ledgerwick_keys AS k INNER JOIN sys.ledgerwick_columns AS c ON c.tab = k.tab AND c.name = k.name
WHERE k.tab = @table_name AND @col_type = 'R' AND ISNULL(@table_owner, 'dbo') = 'dbo'
ORDER BY k.ord)";

constexpr TextView kStatistics =
    uR"(CREATE PROCEDURE sp_statistics @table_name sysname, @table_owner sysname = NULL, @table_qualifier sysname = NULL,
  @index_name sysname = '%', @is_unique char(1) = 'N', @accuracy char(1) = 'Q' AS
SELECT DB_NAME() AS TABLE_QUALIFIER, CAST('dbo' AS sysname) AS TABLE_OWNER, tab AS TABLE_NAME,
  CAST(1 - uniq AS smallint) AS NON_UNIQUE, tab AS INDEX_QUALIFIER, name AS INDEX_NAME, CAST(3 AS smallint) AS TYPE,
  ord AS SEQ_IN_INDEX, col AS COLUMN_NAME, CAST('A' AS char(1)) AS COLLATION, CAST(NULL AS int) AS CARDINALITY,
  CAST(NULL AS int) AS PAGES, CAST(NULL AS varchar(128)) AS FILTER_CONDITION
FROM sys.ledgerwick_indexes
WHERE tab = @table_name AND name LIKE @index_name ESCAPE '\' AND (@is_unique <> 'Y' OR uniq = 1)
  AND ISNULL(@table_owner, 'dbo') = 'dbo'
ORDER BY 4, 7, 6, 8)";

constexpr TextView kProcedures =
    uR"(CREATE PROCEDURE sp_stored_procedures @sp_name nvarchar(390) = NULL, @sp_owner nvarchar(384) = NULL,
  @sp_qualifier sysname = NULL, @fUsePattern bit = 1 AS
SELECT ROUTINE_CATALOG AS PROCEDURE_QUALIFIER, ROUTINE_SCHEMA AS PROCEDURE_OWNER,
  CAST(ROUTINE_NAME + ';1' AS nvarchar(134)) AS PROCEDURE_NAME, CAST(-1 AS int) AS NUM_INPUT_PARAMS,
  CAST(-1 AS int) AS NUM_OUTPUT_PARAMS, CAST(-1 AS int) AS NUM_RESULT_SETS, CAST(NULL AS varchar(254)) AS REMARKS,
  CAST(2 AS smallint) AS PROCEDURE_TYPE
FROM INFORMATION_SCHEMA.ROUTINES
WHERE ROUTINE_NAME LIKE ISNULL(@sp_name, '%') ESCAPE '\' AND 'dbo' LIKE ISNULL(@sp_owner, '%') ESCAPE '\'
ORDER BY 1, 2, 3)";

constexpr TextView kTypes =
    uR"(CREATE PROCEDURE sp_datatype_info @data_type int = 0, @ODBCVer tinyint = 2 AS
SELECT name AS TYPE_NAME, CAST(CASE WHEN data_type = 93 AND @ODBCVer < 3 THEN 11 ELSE data_type END AS smallint) AS DATA_TYPE,
  size AS PRECISION, CAST(prefix AS varchar(32)) AS LITERAL_PREFIX, CAST(suffix AS varchar(32)) AS LITERAL_SUFFIX,
  params AS CREATE_PARAMS, CAST(1 AS smallint) AS NULLABLE, sensitive AS CASE_SENSITIVE,
  CAST(CASE WHEN prefix IS NOT NULL AND is_money = 0 THEN 3 ELSE 2 END AS smallint) AS SEARCHABLE,
  unsigned AS UNSIGNED_ATTRIBUTE, is_money AS MONEY, CAST(CASE WHEN radix IS NOT NULL THEN 0 END AS smallint) AS AUTO_INCREMENT,
  name AS LOCAL_TYPE_NAME, CAST(ISNULL(scale, 0) AS smallint) AS MINIMUM_SCALE, scale AS MAXIMUM_SCALE,
  CAST(CASE WHEN data_type = 93 THEN 9 ELSE data_type END AS smallint) AS SQL_DATA_TYPE,
  CAST(CASE WHEN data_type = 93 THEN 3 END AS smallint) AS SQL_DATETIME_SUB, radix AS NUM_PREC_RADIX,
  CAST(NULL AS smallint) AS INTERVAL_PRECISION, CAST(0 AS smallint) AS USERTYPE
FROM sys.ledgerwick_types
WHERE @data_type = 0 OR data_type = @data_type OR (@data_type = 11 AND data_type = 93)
ORDER BY 2, is_money, name)";

constexpr TextView kParameters =
    uR"(CREATE PROCEDURE sp_sproc_columns @procedure_name nvarchar(390) = '%', @procedure_owner nvarchar(384) = NULL,
  @procedure_qualifier sysname = NULL, @column_name nvarchar(384) = NULL, @ODBCVer int = 2, @fUsePattern bit = 1 AS
SELECT DB_NAME() AS PROCEDURE_QUALIFIER, CAST('dbo' AS sysname) AS PROCEDURE_OWNER,
  CAST(ROUTINE_NAME + ';1' AS nvarchar(134)) AS PROCEDURE_NAME, CAST('@RETURN_VALUE' AS sysname) AS COLUMN_NAME,
  CAST(5 AS smallint) AS COLUMN_TYPE, CAST(4 AS smallint) AS DATA_TYPE, CAST('int' AS sysname) AS TYPE_NAME,
  CAST(10 AS int) AS PRECISION, CAST(4 AS int) AS LENGTH, CAST(0 AS smallint) AS SCALE, CAST(10 AS smallint) AS RADIX,
  CAST(0 AS smallint) AS NULLABLE, CAST(NULL AS varchar(254)) AS REMARKS, CAST(NULL AS nvarchar(4000)) AS COLUMN_DEF,
  CAST(4 AS smallint) AS SQL_DATA_TYPE, CAST(NULL AS smallint) AS SQL_DATETIME_SUB,
  CAST(NULL AS int) AS CHAR_OCTET_LENGTH, CAST(0 AS int) AS ORDINAL_POSITION, CAST('NO' AS varchar(254)) AS IS_NULLABLE,
  CAST(56 AS tinyint) AS SS_DATA_TYPE
FROM INFORMATION_SCHEMA.ROUTINES
WHERE (ROUTINE_NAME + ';1' LIKE @procedure_name ESCAPE '\' OR ROUTINE_NAME LIKE @procedure_name ESCAPE '\')
  AND '@RETURN_VALUE' LIKE ISNULL(@column_name, '%') ESCAPE '\'
UNION ALL
SELECT DB_NAME(), 'dbo', CAST(tab + ';1' AS nvarchar(134)), name, mode,
  CAST(CASE WHEN data_type = 93 AND @ODBCVer < 3 THEN 11 ELSE data_type END AS smallint), type_name, size, length, scale,
  radix, 1, NULL, NULL, CAST(CASE WHEN data_type = 93 THEN 9 ELSE data_type END AS smallint),
  CAST(CASE WHEN data_type = 93 THEN 3 END AS smallint), octets, ord, 'YES', old_type
FROM sys.ledgerwick_parameters
WHERE (tab + ';1' LIKE @procedure_name ESCAPE '\' OR tab LIKE @procedure_name ESCAPE '\')
  AND name LIKE ISNULL(@column_name, '%') ESCAPE '\'
ORDER BY 3, 18)";

constexpr TextView kGetLock =
    uR"(CREATE PROCEDURE sp_getapplock @Resource nvarchar(255), @LockMode nvarchar(32),
  @LockOwner nvarchar(32) = 'Transaction', @LockTimeout int = NULL, @DbPrincipal sysname = 'public' AS RETURN -999)";

constexpr TextView kReleaseLock =
    uR"(CREATE PROCEDURE sp_releaseapplock @Resource nvarchar(255), @LockOwner nvarchar(32) = 'Transaction',
  @DbPrincipal sysname = 'public' AS RETURN -999)";

constexpr TextView kText =
    uR"(CREATE PROCEDURE sp_helptext @objname nvarchar(776), @columnname sysname = NULL AS
DECLARE @id int, @database sysname
SELECT @id = OBJECT_ID(@objname), @database = DB_NAME()
IF @id IS NULL
  RAISERROR(N'The object ''%s'' does not exist in database ''%s'' or is invalid for this operation.', 16, 1, @objname, @database)
ELSE IF NOT EXISTS (SELECT 1 FROM sys.ledgerwick_lines WHERE id = @id)
  RAISERROR(N'There is no text for object ''%s''.', 16, 1, @objname)
ELSE
  SELECT line AS Text FROM sys.ledgerwick_lines WHERE id = @id ORDER BY ord)";

}  // namespace

const ProcedureText* FindSystemProcedure(TextView name) {
  static const std::array<ProcedureText, 13> procedures = {{
      {DatabaseId::Main, u"sp_databases", Text(kDatabaseList)},
      {DatabaseId::Main, u"sp_tables", Text(kTables)},
      {DatabaseId::Main, u"sp_columns", Text(kColumns)},
      {DatabaseId::Main, u"sp_pkeys", Text(kPrimaryKeys)},
      {DatabaseId::Main, u"sp_fkeys", Text(kForeignKeys)},
      {DatabaseId::Main, u"sp_special_columns", Text(kSpecialColumns)},
      {DatabaseId::Main, u"sp_statistics", Text(kStatistics)},
      {DatabaseId::Main, u"sp_stored_procedures", Text(kProcedures)},
      {DatabaseId::Main, u"sp_datatype_info", Text(kTypes)},
      {DatabaseId::Main, u"sp_sproc_columns", Text(kParameters)},
      {DatabaseId::Main, u"sp_helptext", Text(kText)},
      {DatabaseId::Main, u"sp_getapplock", Text(kGetLock), NativeProcedure::GetApplicationLock},
      {DatabaseId::Main, u"sp_releaseapplock", Text(kReleaseLock),
       NativeProcedure::ReleaseApplicationLock},
  }};
  // Clients of newer versions ask for the same under a name of their own.
  for (const TextView suffix : {TextView(u"_90"), TextView(u"_100")}) {
    if (name.ends_with(suffix)) name.remove_suffix(suffix.size());
  }
  for (const ProcedureText& procedure : procedures) {
    if (EqualText(procedure.name, name)) return &procedure;
  }
  return nullptr;
}

}  // namespace ledgerwick::tsql
