#include "tsql/storage/system_tables.h"

#include <string_view>
#include <utility>

#include "tsql/base/characters.h"

namespace ledgerwick::tsql {
namespace {

enum class Place : std::uint8_t {
  Old,         // in any schema but INFORMATION_SCHEMA: sysobjects
  Sys,         // in sys alone: sys.objects
  Information  // in INFORMATION_SCHEMA
};

// A table: its columns as "name type", with "?" behind a type that may be null, and a query, in
// which names in braces stand for parts (Fill).
struct Definition {
  Place place;
  TextView name;
  const char* columns;
  const char* query;
};

constexpr const char* kObjectColumns =
    "name nvarchar(128), object_id int, principal_id int?, schema_id int, parent_object_id int, "
    "type char(2), type_desc nvarchar(60), create_date datetime, modify_date datetime, "
    "is_ms_shipped bit";

constexpr const char* kColumnColumns =
    "object_id int, name nvarchar(128), column_id int, system_type_id tinyint, user_type_id int, "
    "max_length smallint, precision tinyint, scale tinyint, collation_name nvarchar(128)?, "
    "is_nullable bit, is_ansi_padded bit, is_rowguidcol bit, is_identity bit, is_computed bit, "
    "default_object_id int";

constexpr Definition kTables[] = {
    {Place::Old, u"sysobjects",
     "name nvarchar(128), xtype char(2), type char(2), id int, uid smallint, parent_obj int, "
     "crdate datetime, refdate datetime",
     "SELECT name, kind || ' ' AS xtype, kind || ' ' AS type, t_object_key(name) AS id, 1 AS uid, "
     "0 AS parent_obj, {made} AS crdate, {made} AS refdate FROM ({objects}) UNION ALL SELECT name, "
     "kind || ' ', kind || ' ', t_object_key(name), 1, t_object_key(tab), {made}, {made} FROM "
     "({constraints}) UNION ALL SELECT name, iif(primary_key, 'PK', 'UQ'), 'K ', "
     "t_object_key(name), 1, t_object_key(tab), {made}, {made} FROM ({keys})"},
    {Place::Old, u"syscolumns",
     "name nvarchar(128), id int, xtype tinyint, xusertype smallint, length smallint, colid "
     "smallint, colorder smallint, cdefault int, type tinyint, usertype smallint, prec smallint?, "
     "scale int?, iscomputed int, isnullable int, xprec tinyint, xscale tinyint, status tinyint, "
     "collation nvarchar(128)?",
     "SELECT name, t_object_key(tab) AS id, t_type_fact(decl, 'id') AS xtype, t_type_fact(decl, "
     "'user_id') AS xusertype, t_type_fact(decl, 'bytes') AS length, cid AS colid, cid AS "
     "colorder, 0 AS cdefault, t_type_fact(decl, 'id') AS type, t_type_fact(decl, 'user_id') AS "
     "usertype, t_type_fact(decl, 'odbc_size') AS prec, t_type_fact(decl, 'odbc_scale') AS scale, "
     "0 AS iscomputed, nullable AS isnullable, t_type_fact(decl, 'precision') AS xprec, "
     "t_type_fact(decl, 'scale') AS xscale, 0 AS status, CASE WHEN t_type_fact(decl, "
     "'characters') IS NOT NULL THEN 'Chinese_PRC_CI_AS' END AS collation FROM ({columns})"},
    // The texts of modules, in pieces that fit the column whatever stands in them.
    {Place::Old, u"syscomments",
     "id int, number smallint, colid smallint, status smallint, texttype smallint, language "
     "smallint, encrypted bit, compressed bit, text nvarchar(4000)?",
     "WITH RECURSIVE pieces (id, piece, rest) AS (SELECT t_object_key(name), 1, definition FROM "
     "{modules} WHERE definition IS NOT NULL UNION ALL SELECT id, piece + 1, substr(rest, 2001) "
     "FROM pieces WHERE length(rest) > 2000) SELECT id, 1 AS number, piece AS colid, 0 AS status, "
     "2 AS texttype, 0 AS language, 0 AS encrypted, 0 AS compressed, substr(rest, 1, 2000) AS text "
     "FROM pieces"},
    {Place::Old, u"systypes",
     "name nvarchar(128), xtype tinyint, xusertype smallint, length smallint, xprec tinyint, "
     "xscale tinyint, type tinyint, usertype smallint, allownulls bit",
     "SELECT name, id AS xtype, id AS xusertype, bytes AS length, precision AS xprec, scale AS "
     "xscale, id AS type, id AS usertype, 1 AS allownulls FROM ({types})"},
    {Place::Old, u"sysusers", "uid smallint, name nvarchar(128), islogin int, issqluser int",
     "SELECT 1 AS uid, 'dbo' AS name, 1 AS islogin, 1 AS issqluser"},
    {Place::Old, u"sysdatabases",
     "name nvarchar(128), dbid smallint, status int, cmptlevel tinyint, crdate datetime",
     "SELECT {main} AS name, 5 AS dbid, 0 AS status, 110 AS cmptlevel, {made} AS crdate UNION ALL "
     "SELECT 'tempdb', 2, 0, 110, {made}"},
    {Place::Sys, u"objects", kObjectColumns, "{rows} UNION ALL {constraint rows}"},
    {Place::Sys, u"all_objects", kObjectColumns, "{rows}"},
    {Place::Sys, u"tables", kObjectColumns, "{rows} WHERE kind = 'U'"},
    {Place::Sys, u"views", kObjectColumns, "{rows} WHERE kind = 'V'"},
    {Place::Sys, u"procedures", kObjectColumns, "{rows} WHERE kind = 'P'"},
    {Place::Sys, u"columns", kColumnColumns, "{column rows}"},
    {Place::Sys, u"all_columns", kColumnColumns, "{column rows}"},
    {Place::Sys, u"types",
     "name nvarchar(128), system_type_id tinyint, user_type_id int, schema_id int, max_length "
     "smallint, precision tinyint, scale tinyint, collation_name nvarchar(128)?, is_nullable bit, "
     "is_user_defined bit, is_assembly_type bit, is_table_type bit",
     "SELECT name, id AS system_type_id, id AS user_type_id, 4 AS schema_id, bytes AS max_length, "
     "precision, scale, CASE WHEN text THEN 'Chinese_PRC_CI_AS' END AS collation_name, 1 AS "
     "is_nullable, 0 AS is_user_defined, 0 AS is_assembly_type, 0 AS is_table_type FROM "
     "({types})"},
    {Place::Sys, u"databases",
     "name nvarchar(128), database_id int, create_date datetime, compatibility_level tinyint, "
     "collation_name nvarchar(128), state tinyint, state_desc nvarchar(60), is_read_only bit, "
     "user_access tinyint, user_access_desc nvarchar(60)",
     "SELECT {main} AS name, 5 AS database_id, {made} AS create_date, 110 AS compatibility_level, "
     "'Chinese_PRC_CI_AS' AS collation_name, 0 AS state, 'ONLINE' AS state_desc, 0 AS "
     "is_read_only, 0 AS user_access, 'MULTI_USER' AS user_access_desc UNION ALL SELECT 'tempdb', "
     "2, {made}, 110, 'Chinese_PRC_CI_AS', 0, 'ONLINE', 0, 0, 'MULTI_USER'"},
    {Place::Sys, u"schemas", "name nvarchar(128), schema_id int, principal_id int",
     "SELECT 'dbo' AS name, 1 AS schema_id, 1 AS principal_id UNION ALL SELECT "
     "'INFORMATION_SCHEMA', 3, 3 UNION ALL SELECT 'sys', 4, 4"},
    {Place::Sys, u"indexes",
     "object_id int, name nvarchar(128), index_id int, type tinyint, type_desc nvarchar(60), "
     "is_unique bit, is_primary_key bit, is_unique_constraint bit",
     "SELECT t_object_key(tab) AS object_id, name, seq + 2 AS index_id, 2 AS type, 'NONCLUSTERED' "
     "AS type_desc, uniq AS is_unique, origin = 'pk' AS is_primary_key, origin = 'u' AS "
     "is_unique_constraint FROM ({indexes}) WHERE ord = 1"},
    {Place::Sys, u"identity_columns",
     "object_id int, name nvarchar(128), column_id int, seed_value bigint, increment_value bigint, "
     "last_value bigint?, is_identity bit",
     "SELECT t_object_key(i.tab) AS object_id, i.col AS name, c.cid + 1 AS column_id, i.seed AS "
     "seed_value, i.step AS increment_value, i.last AS last_value, 1 AS is_identity FROM "
     "({identities}) AS i, pragma_table_xinfo(i.tab, '{schema}') AS c WHERE c.name = i.col"},
    {Place::Sys, u"computed_columns",
     "object_id int, name nvarchar(128), column_id int, definition nvarchar(4000), is_persisted "
     "bit, "
     "is_computed bit",
     "SELECT t_object_key(t.tab) AS object_id, k.col AS name, c.cid + 1 AS column_id, t.definition "
     "AS definition, t.persisted AS is_persisted, 1 AS is_computed FROM {constraints table} AS t "
     "JOIN ({constraint columns}) AS k ON k.id = t.id, pragma_table_xinfo(t.tab, '{schema}') AS c "
     "WHERE t.kind = 'X' AND c.name = k.col"},
    {Place::Sys, u"check_constraints",
     "name nvarchar(128), object_id int, schema_id int, parent_object_id int, type char(2), "
     "type_desc nvarchar(60), is_ms_shipped bit, is_disabled bit, is_not_trusted bit, "
     "parent_column_id int, definition nvarchar(4000), is_system_named bit",
     "SELECT t.name AS name, t_object_key(t.name) AS object_id, 1 AS schema_id, "
     "t_object_key(t.tab) "
     "AS parent_object_id, 'C ' AS type, 'CHECK_CONSTRAINT' AS type_desc, 0 AS is_ms_shipped, NOT "
     "t.enabled AS is_disabled, NOT t.trusted AS is_not_trusted, coalesce((SELECT c.cid + 1 FROM "
     "({constraint columns}) AS k, pragma_table_xinfo(t.tab, '{schema}') AS c WHERE k.id = t.id "
     "AND "
     "c.name = k.col), 0) AS parent_column_id, t.definition AS definition, t.made AS "
     "is_system_named FROM ({constraints}) AS t WHERE t.kind = 'C'"},
    {Place::Sys, u"default_constraints",
     "name nvarchar(128), object_id int, schema_id int, parent_object_id int, type char(2), "
     "type_desc nvarchar(60), is_ms_shipped bit, parent_column_id int, definition nvarchar(4000), "
     "is_system_named bit",
     "SELECT t.name AS name, t_object_key(t.name) AS object_id, 1 AS schema_id, "
     "t_object_key(t.tab) "
     "AS parent_object_id, 'D ' AS type, 'DEFAULT_CONSTRAINT' AS type_desc, 0 AS is_ms_shipped, "
     "c.cid + 1 AS parent_column_id, t.definition AS definition, t.made AS is_system_named FROM "
     "({constraints}) AS t JOIN ({constraint columns}) AS k ON k.id = t.id, "
     "pragma_table_xinfo(t.tab, '{schema}') AS c WHERE t.kind = 'D' AND c.name = k.col"},
    {Place::Sys, u"foreign_keys",
     "name nvarchar(128), object_id int, schema_id int, parent_object_id int, type char(2), "
     "type_desc nvarchar(60), is_ms_shipped bit, referenced_object_id int, is_disabled bit, "
     "is_not_trusted bit, delete_referential_action tinyint, delete_referential_action_desc "
     "nvarchar(60), update_referential_action tinyint, update_referential_action_desc "
     "nvarchar(60), "
     "is_system_named bit",
     "SELECT t.name AS name, t_object_key(t.name) AS object_id, 1 AS schema_id, "
     "t_object_key(t.tab) "
     "AS parent_object_id, 'F ' AS type, 'FOREIGN_KEY_CONSTRAINT' AS type_desc, 0 AS "
     "is_ms_shipped, "
     "t_object_key(t.referenced) AS referenced_object_id, NOT t.enabled AS is_disabled, NOT "
     "t.trusted AS is_not_trusted, t.on_delete AS delete_referential_action, d.name AS "
     "delete_referential_action_desc, t.on_update AS update_referential_action, u.name AS "
     "update_referential_action_desc, t.made AS is_system_named FROM ({constraints}) AS t JOIN "
     "{actions} AS d ON d.number = t.on_delete JOIN {actions} AS u ON u.number = t.on_update WHERE "
     "t.kind = 'F'"},
    {Place::Sys, u"foreign_key_columns",
     "constraint_object_id int, constraint_column_id int, parent_object_id int, parent_column_id "
     "int, referenced_object_id int, referenced_column_id int",
     "SELECT t_object_key(t.name) AS constraint_object_id, k.ord AS constraint_column_id, "
     "t_object_key(t.tab) AS parent_object_id, c.cid + 1 AS parent_column_id, "
     "t_object_key(t.referenced) AS referenced_object_id, r.cid + 1 AS referenced_column_id FROM "
     "({constraints}) AS t JOIN ({constraint columns}) AS k ON k.id = t.id, "
     "pragma_table_xinfo(t.tab, '{schema}') AS c, pragma_table_xinfo(t.referenced, '{schema}') AS "
     "r "
     "WHERE t.kind = 'F' AND c.name = k.col AND r.name = k.referenced"},
    {Place::Sys, u"key_constraints",
     "name nvarchar(128), object_id int, schema_id int, parent_object_id int, type char(2), "
     "type_desc nvarchar(60), is_ms_shipped bit, is_system_named bit",
     "SELECT name, t_object_key(name) AS object_id, 1 AS schema_id, t_object_key(tab) AS "
     "parent_object_id, iif(primary_key, 'PK', 'UQ') AS type, iif(primary_key, "
     "'PRIMARY_KEY_CONSTRAINT', 'UNIQUE_CONSTRAINT') AS type_desc, 0 AS is_ms_shipped, name LIKE "
     "iif(primary_key, 'PK', 'UQ') || '!_!_%!_!_________________' ESCAPE '!' AS is_system_named "
     "FROM "
     "({keys})"},
    // What the catalogue procedures read.
    {Place::Sys, u"ledgerwick_columns",
     "tab nvarchar(128), name nvarchar(128), data_type smallint, type_name nvarchar(128), size "
     "int, length int, scale smallint?, radix smallint?, nullable smallint, def nvarchar(4000)?, "
     "octets int?, ord int, old_type tinyint",
     "SELECT tab, name, t_type_fact(decl, 'odbc') AS data_type, t_type_fact(decl, 'name') AS "
     "type_name, t_type_fact(decl, 'odbc_size') AS size, t_type_fact(decl, 'odbc_length') AS "
     "length, t_type_fact(decl, 'odbc_scale') AS scale, t_type_fact(decl, 'radix') AS radix, "
     "nullable, def, CASE WHEN t_type_fact(decl, 'characters') IS NOT NULL THEN t_type_fact(decl, "
     "'odbc_length') END AS octets, cid AS ord, t_type_fact(decl, 'old_id') AS old_type FROM "
     "({columns})"},
    {Place::Sys, u"ledgerwick_parameters",
     "tab nvarchar(128), name nvarchar(128), mode smallint, data_type smallint, type_name "
     "nvarchar(128), size int, length int, scale smallint?, radix smallint?, octets int?, ord int, "
     "old_type tinyint",
     "SELECT proc AS tab, name, 1 + output AS mode, t_type_fact(decl, 'odbc') AS data_type, "
     "t_type_fact(decl, 'name') AS type_name, t_type_fact(decl, 'odbc_size') AS size, "
     "t_type_fact(decl, 'odbc_length') AS length, t_type_fact(decl, 'odbc_scale') AS scale, "
     "t_type_fact(decl, 'radix') AS radix, CASE WHEN t_type_fact(decl, 'characters') IS NOT NULL "
     "THEN t_type_fact(decl, 'odbc_length') END AS octets, cid AS ord, t_type_fact(decl, "
     "'old_id') AS old_type FROM ({parameters})"},
    {Place::Sys, u"ledgerwick_keys",
     "tab nvarchar(128), name nvarchar(128), ord smallint, key_name nvarchar(128)",
     "SELECT k.tab AS tab, c.col AS name, c.ord AS ord, k.name AS key_name FROM ({keys}) AS k, "
     "({key columns}) AS c WHERE k.primary_key AND c.tab = k.tab AND c.stored = k.stored"},
    {Place::Sys, u"ledgerwick_references",
     "tab nvarchar(128), col nvarchar(128), referenced nvarchar(128), referenced_col "
     "nvarchar(128), "
     "ord smallint, name nvarchar(128), on_update smallint, on_delete smallint",
     "SELECT t.tab AS tab, k.col AS col, t.referenced AS referenced, k.referenced AS "
     "referenced_col, k.ord AS ord, t.name AS name, t.on_update AS on_update, t.on_delete AS "
     "on_delete FROM ({constraints}) AS t JOIN ({constraint columns}) AS k ON k.id = t.id WHERE "
     "t.kind = 'F'"},
    {Place::Sys, u"ledgerwick_indexes",
     "tab nvarchar(128), name nvarchar(128), uniq smallint, ord smallint, col nvarchar(128)",
     "SELECT tab, name, uniq, ord, col FROM ({indexes})"},
    {Place::Sys, u"ledgerwick_lines", "id int, ord int, line nvarchar(255)",
     "WITH RECURSIVE lines (id, ord, line, rest) AS (SELECT t_object_key(name), 0, '', definition "
     "FROM {modules} WHERE definition IS NOT NULL UNION ALL SELECT id, ord + 1, substr(rest, 1, "
     "{line length}), substr(rest, 1 + {line length}) FROM lines WHERE rest <> '') SELECT id, ord, "
     "line FROM lines WHERE ord > 0"},
    {Place::Sys, u"ledgerwick_types",
     "name nvarchar(128), data_type smallint, size int, prefix varchar(8)?, suffix varchar(8)?, "
     "params varchar(32)?, sensitive smallint, unsigned smallint?, is_money smallint, scale "
     "smallint?, radix int?",
     "SELECT name, odbc AS data_type, size, CASE WHEN text THEN iif(name LIKE 'n%', 'N''', '''') "
     "WHEN name LIKE '%date%' THEN '''' WHEN name LIKE '%money' THEN '$' END AS prefix, CASE WHEN "
     "text OR name LIKE '%date%' THEN '''' END AS suffix, CASE WHEN text THEN 'length' WHEN name "
     "IN ('decimal', 'numeric') THEN 'precision,scale' END AS params, 0 AS sensitive, CASE WHEN "
     "radix IS NOT NULL THEN name = 'tinyint' END AS unsigned, name LIKE '%money' AS is_money, "
     "odbc_scale AS scale, radix FROM ({types})"},
    {Place::Information, u"TABLES",
     "TABLE_CATALOG nvarchar(128), TABLE_SCHEMA nvarchar(128), TABLE_NAME nvarchar(128), "
     "TABLE_TYPE varchar(10)",
     "SELECT {name} AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, name AS TABLE_NAME, CASE kind WHEN "
     "'U' THEN 'BASE TABLE' ELSE 'VIEW' END AS TABLE_TYPE FROM ({objects}) WHERE kind <> 'P'"},
    {Place::Information, u"VIEWS",
     "TABLE_CATALOG nvarchar(128), TABLE_SCHEMA nvarchar(128), TABLE_NAME nvarchar(128), "
     "VIEW_DEFINITION nvarchar(4000)?, CHECK_OPTION varchar(7), IS_UPDATABLE varchar(2)",
     "SELECT {name} AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, name AS TABLE_NAME, "
     "substr(definition, 1, 4000) AS VIEW_DEFINITION, 'NONE' AS CHECK_OPTION, 'NO' AS "
     "IS_UPDATABLE FROM {modules} WHERE kind = 'V'"},
    {Place::Information, u"ROUTINES",
     "SPECIFIC_CATALOG nvarchar(128), SPECIFIC_SCHEMA nvarchar(128), SPECIFIC_NAME "
     "nvarchar(128), ROUTINE_CATALOG nvarchar(128), ROUTINE_SCHEMA nvarchar(128), ROUTINE_NAME "
     "nvarchar(128), ROUTINE_TYPE nvarchar(20), ROUTINE_DEFINITION nvarchar(4000)?",
     "SELECT {name} AS SPECIFIC_CATALOG, 'dbo' AS SPECIFIC_SCHEMA, name AS SPECIFIC_NAME, {name} "
     "AS ROUTINE_CATALOG, 'dbo' AS ROUTINE_SCHEMA, name AS ROUTINE_NAME, 'PROCEDURE' AS "
     "ROUTINE_TYPE, substr(definition, 1, 4000) AS ROUTINE_DEFINITION FROM {modules} WHERE kind = "
     "'P'"},
    {Place::Information, u"SCHEMATA",
     "CATALOG_NAME nvarchar(128), SCHEMA_NAME nvarchar(128), SCHEMA_OWNER nvarchar(128)",
     "SELECT {name} AS CATALOG_NAME, 'dbo' AS SCHEMA_NAME, 'dbo' AS SCHEMA_OWNER"},
    {Place::Information, u"COLUMNS",
     "TABLE_CATALOG nvarchar(128), TABLE_SCHEMA nvarchar(128), TABLE_NAME nvarchar(128), "
     "COLUMN_NAME nvarchar(128), ORDINAL_POSITION int, COLUMN_DEFAULT nvarchar(4000)?, "
     "IS_NULLABLE varchar(3), DATA_TYPE nvarchar(128), CHARACTER_MAXIMUM_LENGTH int?, "
     "CHARACTER_OCTET_LENGTH int?, NUMERIC_PRECISION tinyint?, NUMERIC_PRECISION_RADIX smallint?, "
     "NUMERIC_SCALE int?, DATETIME_PRECISION smallint?, CHARACTER_SET_NAME nvarchar(128)?, "
     "COLLATION_NAME nvarchar(128)?",
     "SELECT {name} AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, tab AS TABLE_NAME, name AS "
     "COLUMN_NAME, cid AS ORDINAL_POSITION, def AS COLUMN_DEFAULT, iif(nullable, 'YES', 'NO') AS "
     "IS_NULLABLE, t_type_fact(decl, 'name') AS DATA_TYPE, CASE WHEN t_type_fact(decl, 'name') "
     "LIKE '%binary' THEN t_type_fact(decl, 'bytes') ELSE t_type_fact(decl, 'characters') END AS "
     "CHARACTER_MAXIMUM_LENGTH, CASE WHEN t_type_fact(decl, 'characters') IS NOT NULL OR "
     "t_type_fact(decl, 'name') LIKE '%binary' THEN t_type_fact(decl, 'bytes') END AS "
     "CHARACTER_OCTET_LENGTH, CASE WHEN t_type_fact(decl, "
     "'radix') IS NOT NULL THEN t_type_fact(decl, 'odbc_size') END AS NUMERIC_PRECISION, "
     "t_type_fact(decl, 'radix') AS NUMERIC_PRECISION_RADIX, CASE WHEN t_type_fact(decl, 'radix') "
     "IS NOT NULL THEN t_type_fact(decl, 'odbc_scale') END AS NUMERIC_SCALE, CASE WHEN "
     "t_type_fact(decl, 'odbc') IN (91, 93, -154) THEN t_type_fact(decl, 'scale') END AS "
     "DATETIME_PRECISION, CASE WHEN t_type_fact(decl, 'characters') IS NOT NULL THEN "
     "iif(t_type_fact(decl, 'odbc') < 0, 'UNICODE', 'cp936') END AS CHARACTER_SET_NAME, CASE WHEN "
     "t_type_fact(decl, 'characters') IS NOT NULL THEN 'Chinese_PRC_CI_AS' END AS COLLATION_NAME "
     "FROM ({columns})"},
    {Place::Information, u"PARAMETERS",
     "SPECIFIC_CATALOG nvarchar(128), SPECIFIC_SCHEMA nvarchar(128), SPECIFIC_NAME "
     "nvarchar(128), ORDINAL_POSITION int, PARAMETER_MODE nvarchar(10), IS_RESULT nvarchar(10), "
     "AS_LOCATOR nvarchar(10), PARAMETER_NAME nvarchar(128), DATA_TYPE nvarchar(128), "
     "CHARACTER_MAXIMUM_LENGTH int?, CHARACTER_OCTET_LENGTH int?, NUMERIC_PRECISION tinyint?, "
     "NUMERIC_PRECISION_RADIX smallint?, NUMERIC_SCALE int?",
     "SELECT {name} AS SPECIFIC_CATALOG, 'dbo' AS SPECIFIC_SCHEMA, proc AS SPECIFIC_NAME, cid AS "
     "ORDINAL_POSITION, iif(output, 'INOUT', 'IN') AS PARAMETER_MODE, 'NO' AS IS_RESULT, 'NO' AS "
     "AS_LOCATOR, name AS PARAMETER_NAME, t_type_fact(decl, 'name') AS DATA_TYPE, "
     "t_type_fact(decl, 'characters') AS CHARACTER_MAXIMUM_LENGTH, CASE WHEN t_type_fact(decl, "
     "'characters') IS NOT NULL THEN t_type_fact(decl, 'bytes') END AS CHARACTER_OCTET_LENGTH, "
     "CASE WHEN t_type_fact(decl, 'radix') IS NOT NULL THEN t_type_fact(decl, 'odbc_size') END AS "
     "NUMERIC_PRECISION, t_type_fact(decl, 'radix') AS NUMERIC_PRECISION_RADIX, CASE WHEN "
     "t_type_fact(decl, 'radix') IS NOT NULL THEN t_type_fact(decl, 'odbc_scale') END AS "
     "NUMERIC_SCALE FROM ({parameters})"},
    {Place::Information, u"TABLE_CONSTRAINTS",
     "CONSTRAINT_CATALOG nvarchar(128), CONSTRAINT_SCHEMA nvarchar(128), CONSTRAINT_NAME "
     "nvarchar(128), TABLE_CATALOG nvarchar(128), TABLE_SCHEMA nvarchar(128), TABLE_NAME "
     "nvarchar(128), CONSTRAINT_TYPE varchar(11), IS_DEFERRABLE varchar(2), INITIALLY_DEFERRED "
     "varchar(2)",
     "SELECT {name} AS CONSTRAINT_CATALOG, 'dbo' AS CONSTRAINT_SCHEMA, name AS CONSTRAINT_NAME, "
     "{name} AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, tab AS TABLE_NAME, iif(primary_key, "
     "'PRIMARY KEY', 'UNIQUE') AS CONSTRAINT_TYPE, 'NO' AS IS_DEFERRABLE, 'NO' AS "
     "INITIALLY_DEFERRED FROM ({keys}) UNION ALL SELECT {name}, 'dbo', name, {name}, 'dbo', tab, "
     "iif(kind = 'F', 'FOREIGN KEY', 'CHECK'), 'NO', 'NO' FROM ({constraints}) WHERE kind IN ('C', "
     "'F')"},
    {Place::Information, u"CHECK_CONSTRAINTS",
     "CONSTRAINT_CATALOG nvarchar(128), CONSTRAINT_SCHEMA nvarchar(128), CONSTRAINT_NAME "
     "nvarchar(128), CHECK_CLAUSE nvarchar(4000)",
     "SELECT {name} AS CONSTRAINT_CATALOG, 'dbo' AS CONSTRAINT_SCHEMA, name AS CONSTRAINT_NAME, "
     "definition AS CHECK_CLAUSE FROM ({constraints}) WHERE kind = 'C'"},
    {Place::Information, u"REFERENTIAL_CONSTRAINTS",
     "CONSTRAINT_CATALOG nvarchar(128), CONSTRAINT_SCHEMA nvarchar(128), CONSTRAINT_NAME "
     "nvarchar(128), UNIQUE_CONSTRAINT_CATALOG nvarchar(128), UNIQUE_CONSTRAINT_SCHEMA "
     "nvarchar(128), UNIQUE_CONSTRAINT_NAME nvarchar(128)?, MATCH_OPTION varchar(7), UPDATE_RULE "
     "varchar(11), DELETE_RULE varchar(11)",
     "SELECT {name} AS CONSTRAINT_CATALOG, 'dbo' AS CONSTRAINT_SCHEMA, t.name AS CONSTRAINT_NAME, "
     "{name} AS UNIQUE_CONSTRAINT_CATALOG, 'dbo' AS UNIQUE_CONSTRAINT_SCHEMA, (SELECT k.name FROM "
     "({keys}) AS k WHERE k.tab = t.referenced AND (SELECT group_concat(col) FROM (SELECT col FROM "
     "({key columns}) AS kc WHERE kc.tab = k.tab AND kc.stored = k.stored ORDER BY col)) = (SELECT "
     "group_concat(referenced) FROM (SELECT fc.referenced AS referenced FROM ({constraint "
     "columns}) "
     "AS fc WHERE fc.id = t.id ORDER BY fc.referenced))) AS UNIQUE_CONSTRAINT_NAME, 'SIMPLE' AS "
     "MATCH_OPTION, replace(u.name, '_', ' ') AS UPDATE_RULE, replace(d.name, '_', ' ') AS "
     "DELETE_RULE FROM ({constraints}) AS t JOIN {actions} AS d ON d.number = t.on_delete JOIN "
     "{actions} AS u ON u.number = t.on_update WHERE t.kind = 'F'"},
    {Place::Information, u"KEY_COLUMN_USAGE",
     "CONSTRAINT_CATALOG nvarchar(128), CONSTRAINT_SCHEMA nvarchar(128), CONSTRAINT_NAME "
     "nvarchar(128), TABLE_CATALOG nvarchar(128), TABLE_SCHEMA nvarchar(128), TABLE_NAME "
     "nvarchar(128), COLUMN_NAME nvarchar(128), ORDINAL_POSITION int",
     "SELECT {name} AS CONSTRAINT_CATALOG, 'dbo' AS CONSTRAINT_SCHEMA, k.name AS CONSTRAINT_NAME, "
     "{name} AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, k.tab AS TABLE_NAME, c.col AS COLUMN_NAME, "
     "c.ord AS ORDINAL_POSITION FROM ({keys}) AS k, ({key columns}) AS c WHERE c.tab = k.tab AND "
     "c.stored = k.stored UNION ALL SELECT {name}, 'dbo', t.name, {name}, 'dbo', t.tab, r.col, "
     "r.ord "
     "FROM ({constraints}) AS t JOIN ({constraint columns}) AS r ON r.id = t.id WHERE t.kind = "
     "'F'"},
};

// Parts of queries, which may hold others that stand further down.
constexpr std::pair<std::string_view, std::string_view> kParts[] = {
    {"{constraint rows}",
     "SELECT name, t_object_key(name) AS object_id, NULL AS principal_id, 1 AS schema_id, "
     "t_object_key(tab) AS parent_object_id, kind || ' ' AS type, CASE kind WHEN 'C' THEN "
     "'CHECK_CONSTRAINT' WHEN 'D' THEN 'DEFAULT_CONSTRAINT' ELSE 'FOREIGN_KEY_CONSTRAINT' END AS "
     "type_desc, {made} AS create_date, {made} AS modify_date, 0 AS is_ms_shipped FROM "
     "({constraints}) UNION ALL SELECT name, t_object_key(name), NULL, 1, t_object_key(tab), "
     "iif(primary_key, 'PK', 'UQ'), iif(primary_key, 'PRIMARY_KEY_CONSTRAINT', "
     "'UNIQUE_CONSTRAINT'), {made}, {made}, 0 FROM ({keys})"},
    {"{rows}",
     "SELECT name, t_object_key(name) AS object_id, NULL AS principal_id, 1 AS schema_id, 0 AS "
     "parent_object_id, kind || ' ' AS type, CASE kind WHEN 'U' THEN 'USER_TABLE' WHEN 'V' THEN "
     "'VIEW' ELSE 'SQL_STORED_PROCEDURE' END AS type_desc, {made} AS create_date, {made} AS "
     "modify_date, 0 AS is_ms_shipped FROM ({objects})"},
    {"{column rows}",
     "SELECT t_object_key(tab) AS object_id, name, cid AS column_id, t_type_fact(decl, 'id') AS "
     "system_type_id, t_type_fact(decl, 'user_id') AS user_type_id, t_type_fact(decl, 'bytes') AS "
     "max_length, t_type_fact(decl, 'precision') AS precision, t_type_fact(decl, 'scale') AS "
     "scale, CASE WHEN t_type_fact(decl, 'characters') IS NOT NULL THEN 'Chinese_PRC_CI_AS' END "
     "AS collation_name, nullable AS is_nullable, 1 AS is_ansi_padded, 0 AS is_rowguidcol, EXISTS "
     "(SELECT 1 FROM ({identities}) AS i WHERE i.tab = t.tab AND i.col = t.name) AS is_identity, "
     "computed AS is_computed, coalesce((SELECT t_object_key(c.name) FROM ({constraints}) AS c "
     "JOIN "
     "({constraint columns}) AS k ON k.id = c.id WHERE c.kind = 'D' AND c.tab = t.tab AND k.col = "
     "t.name), 0) AS default_object_id FROM ({columns}) AS t"},
    {"{types}",
     "SELECT t_type_fact(column1, 'name') AS name, t_type_fact(column1, 'id') AS id, "
     "t_type_fact(column1, 'bytes') AS bytes, t_type_fact(column1, 'precision') AS precision, "
     "t_type_fact(column1, 'scale') AS scale, t_type_fact(column1, 'odbc') AS odbc, "
     "t_type_fact(column1, 'odbc_size') AS size, t_type_fact(column1, 'odbc_scale') AS "
     "odbc_scale, t_type_fact(column1, 'radix') AS radix, t_type_fact(column1, 'characters') IS "
     "NOT NULL AS text FROM (VALUES ('bit'), ('tinyint'), ('smallint'), ('int'), ('bigint'), "
     "('smallmoney'), ('money'), ('decimal(38,38)'), ('real'), ('float'), ('smalldatetime'), "
     "('datetime'), ('date'), ('time(7)'), ('datetime2(7)'), ('binary(8000)'), "
     "('varbinary(8000)'), ('uniqueidentifier'), ('timestamp'), ('char(8000)'), ('varchar(8000)'), "
     "('nchar(4000)'), ('nvarchar(4000)'))"},
    {"{columns}",
     "SELECT o.name AS tab, c.name AS name, c.cid + 1 AS cid, c.type AS decl, NOT "
     "(c.\"notnull\" OR c.type = 'INTEGER') AS nullable, coalesce((SELECT d.definition FROM "
     "({constraints}) AS d JOIN ({constraint columns}) AS k ON k.id = d.id WHERE d.kind = 'D' AND "
     "d.tab = o.name AND k.col = c.name), CASE WHEN t_type_fact(c.type, 'name') <> "
     "'timestamp' THEN c.dflt_value END) AS def, c.pk AS pk, c.hidden > 0 AS "
     "computed FROM ({objects}) AS o, pragma_table_xinfo(o.name, '{schema}') AS c WHERE o.kind = "
     "'U' UNION ALL SELECT o.name, json_extract(c.value, '$[0]'), c.key + 1, json_extract(c.value, "
     "'$[1]'), json_extract(c.value, '$[2]'), NULL, 0, 0 FROM ({objects}) AS o, json_each("
     "t_described('{schema}', o.name)) AS c WHERE o.kind = 'V'"},
    {"{parameters}",
     "SELECT o.name AS proc, json_extract(c.value, '$[0]') AS name, c.key + 1 AS cid, "
     "json_extract(c.value, '$[1]') AS decl, json_extract(c.value, '$[2]') AS output FROM "
     "({objects}) AS o, json_each(t_described('{schema}', o.name)) AS c WHERE o.kind = 'P'"},
    // The index for NULLs that stands beside a unique one (unique_keys.h) is the storage's own.
    {"{indexes}",
     "SELECT o.name AS tab, CASE WHEN k.name IS NOT NULL THEN k.name WHEN substr(l.name, 1, "
     "length(o.name) + 1) = o.name || '.' THEN substr(l.name, length(o.name) + 2) ELSE l.name END "
     "AS name, l.seq AS seq, l.\"unique\" AS uniq, CASE WHEN k.primary_key THEN 'pk' WHEN k.name "
     "IS "
     "NOT NULL THEN 'u' ELSE l.origin END AS origin, i.seqno + 1 AS ord, i.name AS col FROM "
     "({objects}) AS o, pragma_index_list(o.name, '{schema}') AS l, pragma_index_info(l.name, "
     "'{schema}') AS i LEFT JOIN ({keys}) AS k ON k.tab = o.name AND k.stored = iif(l.origin = "
     "'pk', '', l.name) WHERE o.kind = 'U' AND NOT l.partial"},
    // Primary keys and UNIQUE constraints; the storage's row number has no index.
    {"{keys}",
     "SELECT k.tab AS tab, k.stored AS stored, k.primary_key AS primary_key, t_key_name(k.tab, "
     "k.primary_key, k.cols, k.stored, s.sql) AS name FROM (SELECT tab, stored, primary_key, "
     "group_concat(col, char(1)) AS cols FROM (SELECT * FROM ({key columns}) ORDER BY tab, stored, "
     "ord) GROUP BY tab, stored, primary_key) AS k LEFT JOIN {schema}.sqlite_schema AS s ON s.type "
     "= 'table' AND s.name = k.tab"},
    {"{key columns}",
     "SELECT o.name AS tab, '' AS stored, 1 AS primary_key, c.name AS col, c.pk AS ord FROM "
     "({objects}) AS o, pragma_table_xinfo(o.name, '{schema}') AS c WHERE o.kind = 'U' AND c.pk > "
     "0 "
     "UNION ALL SELECT o.name, l.name, l.name LIKE 'ledgerwick!_pk:%' ESCAPE '!', i.name, i.seqno "
     "+ "
     "1 FROM ({objects}) AS o, pragma_index_list(o.name, '{schema}') AS l, "
     "pragma_index_info(l.name, '{schema}') AS i WHERE o.kind = 'U' AND (l.origin = 'u' OR l.name "
     "LIKE 'ledgerwick!_pk:%' ESCAPE '!' OR l.name LIKE 'ledgerwick!_uq:%' ESCAPE '!')"},
    {"{line length}", "min(255, ifnull(nullif(instr(rest, char(10)), 0), 255))"},
    {"{constraints}",
     "SELECT id, kind, tab, name, made, definition, referenced, on_delete, on_update, enabled, "
     "trusted FROM {constraints table} WHERE kind <> 'X' AND name <> ''"},
    {"{constraint columns}", "SELECT id, ord, col, referenced FROM {constraint columns table}"},
    {"{identities}", "SELECT tab, col, seed, step, last FROM {identity table}"},
    {"{actions}",
     "(SELECT 0 AS number, 'NO_ACTION' AS name UNION ALL SELECT 1, 'CASCADE' UNION ALL SELECT 2, "
     "'SET_NULL' UNION ALL SELECT 3, 'SET_DEFAULT')"},
    {"{made}", "3155673600000"},  // 2000-01-01, since nobody keeps when a table was made
};

void Replace(std::string& text, std::string_view part, std::string_view with) {
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += with.size()) {
    text.replace(at, part.size(), with);
  }
}

// A table of constraints.h, or one without rows where there is none.
std::string TableOrNone(const char* table, const char* columns, DatabaseId database, bool exists) {
  if (exists) return std::string(SchemaName(database)) + "." + table;
  return std::string("(SELECT ") + columns + " WHERE 0)";
}

std::string Fill(std::string query, DatabaseId database, const Text& database_name,
                 const Text& main_name, bool has_constraints) {
  for (const auto& [part, with] : kParts) Replace(query, part, with);
  Replace(query, "{objects}", ObjectsQuery(database));
  Replace(query, "{modules}",
          database == DatabaseId::Session
              ? "(SELECT NULL AS name, NULL AS kind, NULL AS definition)"
              : std::string(SchemaName(database)) + "." + kModulesTable);
  Replace(
      query, "{constraints table}",
      TableOrNone(kConstraintsTable,
                  "0 AS id, '' AS kind, '' AS tab, '' AS name, 0 AS made, '' AS definition, '' "
                  "AS referenced, 0 AS persisted, 0 AS on_delete, 0 AS on_update, 0 AS enabled, "
                  "0 AS trusted",
                  database, has_constraints));
  Replace(query, "{constraint columns table}",
          TableOrNone(kConstraintColumnsTable, "0 AS id, 0 AS ord, '' AS col, '' AS referenced",
                      database, has_constraints));
  Replace(query, "{identity table}",
          TableOrNone(kIdentityTable, "'' AS tab, '' AS col, 0 AS seed, 0 AS step, 0 AS last",
                      database, has_constraints));
  Replace(query, "{schema}", SchemaName(database));
  Replace(query, "{name}", QuoteLiteral(ToUtf8(database_name)));
  Replace(query, "{main}", QuoteLiteral(ToUtf8(main_name)));
  return query;
}

void AddColumns(Table& table, std::string_view columns) {
  while (!columns.empty()) {
    const std::size_t comma = columns.find(", ");
    std::string_view column = columns.substr(0, comma);
    columns.remove_prefix(comma == std::string_view::npos ? columns.size() : comma + 2);
    const bool nullable = column.ends_with('?');
    if (nullable) column.remove_suffix(1);
    const std::size_t blank = column.find(' ');
    const std::string name(column.substr(0, blank));
    Type type = ParseTypeName(std::string(column.substr(blank + 1)));
    type.nullable = nullable;
    table.column_by_name.emplace(ToText(name), static_cast<std::int32_t>(table.columns.size()));
    table.columns.push_back({ToText(name), QuoteIdentifier(name), type, {}});
  }
}

bool IsIn(Place place, TextView schema) {
  switch (place) {
    case Place::Information:
      return EqualText(schema, u"INFORMATION_SCHEMA");
    case Place::Sys:
      return EqualText(schema, u"sys");
    case Place::Old:
      return !EqualText(schema, u"INFORMATION_SCHEMA");
  }
  return false;
}

}  // namespace

std::string ObjectsQuery(DatabaseId database) {
  const std::string schema = SchemaName(database);
  return "SELECT name, 'U' AS kind FROM " + schema +
         ".sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite!_%' ESCAPE '!' AND name "
         "NOT LIKE 'ledgerwick!_%' ESCAPE '!'" +
         (database == DatabaseId::Session
              ? ""  // which has no modules
              : " UNION ALL SELECT name, kind FROM " + schema + "." + kModulesTable);
}

std::unique_ptr<Table> NewSystemTable(DatabaseId database, TextView schema, TextView name,
                                      const Text& database_name, const Text& main_name,
                                      bool has_constraints) {
  for (const Definition& definition : kTables) {
    if (!EqualText(definition.name, name) || !IsIn(definition.place, schema)) continue;
    auto table = std::make_unique<Table>();
    table->kind = TableKind::System;
    table->database = database;
    table->name = definition.name;
    table->sql =
        "(" + Fill(definition.query, database, database_name, main_name, has_constraints) + ")";
    AddColumns(*table, definition.columns);
    return table;
  }
  return nullptr;
}

}  // namespace ledgerwick::tsql
