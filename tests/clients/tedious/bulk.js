// Loads rows in bulk and goes back to save points: HOST PORT USER PASSWORD VERSION.
'use strict';
const {Connection, Request, TYPES} = require('tedious');

const [host, port, user, password, version] = process.argv.slice(2);
const connection = new Connection({
  server: host,
  authentication: {type: 'default', options: {userName: user, password}},
  options: {port: Number(port), database: 's', encrypt: false, tdsVersion: version, useUTC: true,
            trustServerCertificate: true, requestTimeout: 120000},
});

const sql = (text) => new Promise((done, failed) => {
  const rows = [];
  const request = new Request(text, (error) => (error ? failed(error) : done(rows)));
  request.on('row', (columns) => rows.push(columns.map((c) => c.value).join('|')));
  connection.execSqlBatch(request);
});

// The count of the rows that were loaded, or the number of the error.
const load = (table, columns, rows) => new Promise((done) => {
  const bulk = connection.newBulkLoad(table, {keepNulls: true}, (error, count) => done(error ? 'error ' + error.number : count));
  for (const [name, type, options] of columns) bulk.addColumn(name, type, {nullable: true, ...options});
  connection.execBulkLoad(bulk, rows);
});

const transaction = (what, name) => new Promise((done) => connection[what + 'Transaction']((error) => done(error ? error.number : 0), name));

async function run() {
  const say = (name, ...what) => console.log(name + ': ' + what.join(' '));
  const all = [['i', TYPES.Int], ['b', TYPES.Bit], ['g', TYPES.BigInt], ['m', TYPES.Money], ['n', TYPES.Numeric, {precision: 19, scale: 4}],
    ['f', TYPES.Float], ['t', TYPES.DateTime], ['c', TYPES.VarChar, {length: 10}], ['w', TYPES.NVarChar, {length: 10}],
    ['l', TYPES.NVarChar, {length: Infinity}], ['y', TYPES.VarBinary, {length: 4}], ['u', TYPES.UniqueIdentifier]];
  await sql('CREATE TABLE bulk_types (i int, b bit, g bigint, m money, n numeric(19,4), f float, t datetime, c varchar(10), w nvarchar(10), ' +
            'l nvarchar(max), y varbinary(4), u uniqueidentifier)');
  say('types', await load('bulk_types', all, [
    [-1, true, '9007199254740991', 1.5, -12.3456, 0.25, new Date('2002-03-01T10:11:12.000Z'), 'ab', '甲', '长'.repeat(9000), Buffer.from([1, 255]),
     '6F9619FF-8B86-D011-B42D-00C04FC964FF'],
    all.map(() => null)]));
  say('read', ...await sql("SELECT i, b, g, m, n, f, CONVERT(varchar(23), t, 121), c, w, LEN(l), DATALENGTH(y), u FROM bulk_types WHERE i IS NOT NULL"));
  await sql('CREATE TABLE bulk_rows (a int NOT NULL PRIMARY KEY, b varchar(20) NOT NULL, c decimal(9,2) DEFAULT 7) CREATE TABLE #own (a int)');
  const columns = [['a', TYPES.Int], ['b', TYPES.NVarChar, {length: 50}]];
  const many = function* (count, last) {
    for (let i = 0; i < count; ++i) yield [i, 'row ' + i];
    if (last) yield last;
  };
  say('many', await load('bulk_rows', columns, many(100000)));
  say('sum', ...await sql('SELECT COUNT(*), MAX(a), MIN(b), SUM(c) FROM dbo.bulk_rows DELETE FROM bulk_rows'));
  say('own', await load('#own', [['a', TYPES.Int]], [[1], [2]]), ...await sql('SELECT SUM(a) FROM #own'));
  say('null', await load('bulk_rows', columns, many(9, [9, null])));
  say('long', await load('bulk_rows', columns, many(9, [9, 'x'.repeat(21)])));
  say('twice', await load('bulk_rows', columns, many(9, [3, 'x'])));
  say('wrong', await load('bulk_rows', [['a', TYPES.VarChar, {length: 9}], columns[1]], [['1', 'x'], ['x', 'x']]));
  say('nowhere', await load('nosuch', columns, [[1, 'x']]));
  say('column', await load('bulk_rows', [['z', TYPES.Int]], [[1]]));
  say('left', ...await sql('SELECT COUNT(*) FROM bulk_rows'));
  say('saves', await transaction('begin'), await transaction('save', 'one'), await load('bulk_rows', columns, many(5)),
      await transaction('save', 'two'), await load('bulk_rows', columns, [[100, 'x']]), ...await sql('SELECT COUNT(*), @@TRANCOUNT FROM bulk_rows'),
      await transaction('rollback', 'one'), ...await sql('SELECT COUNT(*), @@TRANCOUNT FROM bulk_rows'), await transaction('rollback', 'two'),
      await transaction('commit'));
  await sql('DROP TABLE bulk_types DROP TABLE bulk_rows');
}

connection.connect((error) => {
  if (error) throw error;
  run().then(() => connection.close(), (failure) => { console.log(failure); process.exit(1); });
});
