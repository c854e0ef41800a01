// Runs statements through tedious: HOST PORT USER PASSWORD VERSION; statements on standard input.
'use strict';
const readline = require('readline');
const {Connection, Request, TYPES} = require('tedious');

const [host, port, user, password, version] = process.argv.slice(2);
const connection = new Connection({
  server: host,
  authentication: {type: 'default', options: {userName: user, password}},
  options: {port: Number(port), database: 's', encrypt: false, tdsVersion: version, useUTC: true,
            trustServerCertificate: true, requestTimeout: 60000},
});
const print = (...parts) => console.log(parts.join('\t'));

function show(value) {
  if (value === null || value === undefined) return 'NULL';
  if (value === true || value === false) return value ? '1' : '0';
  if (value instanceof Date) return value.toISOString().replace('T', ' ').replace('Z', '');
  if (Buffer.isBuffer(value)) return '0x' + value.toString('hex').toUpperCase();
  return String(value);
}

function run(line) {
  return new Promise((done) => {
    const finish = (error) => {
      if (error) print('error', error.number, error.lineNumber || '');
      done();
    };
    if (line === 'begin') return connection.beginTransaction(finish);
    if (line === 'commit') return connection.commitTransaction(finish);
    if (line === 'rollback') return connection.rollbackTransaction(finish);
    const [, kind, rest] = /^(\? |rows |cancel )?([^]*)$/.exec(line);
    const [sql, ...values] = kind === '? ' ? rest.split(' | ') : [rest];
    let rows = 0;
    let number = 0;
    const request = new Request(sql.replace(/\?/g, () => kind === '? ' ? '@p' + ++number : '?'), (error) => {
      if (kind === 'rows ') print('row', rows);
      if (kind === 'cancel ') { print(error && error.code === 'ECANCEL' ? 'cancelled' : 'finished'); return done(); }
      finish(error);
    });
    request.on('columnMetadata', () => print('set'));
    request.on('row', (columns) => {
      ++rows;
      if (kind !== 'rows ') print('row', ...columns.map((column) => show(column.value)));
    });
    for (const event of ['done', 'doneInProc']) {
      let sets = 0;
      request.on('columnMetadata', () => { sets = 1; });
      request.on(event, (count) => {
        if (!sets && count > 0) print('count', count);
        sets = 0;
      });
    }
    values.forEach((value, i) => {
      const text = value.slice(2);
      const name = 'p' + (i + 1);
      if (value === 'null') request.addParameter(name, TYPES.VarChar, null);
      else if (value[0] === 'i') request.addParameter(name, TYPES.Int, Number(text));
      else if (value[0] === 'n') request.addParameter(name, TYPES.Decimal, Number(text), {precision: 18, scale: 4});
      else if (value[0] === 'f') request.addParameter(name, TYPES.Float, Number(text));
      else if (value[0] === 's') request.addParameter(name, TYPES.NVarChar, text);
      else request.addParameter(name, TYPES.DateTime, new Date(text.replace(' ', 'T') + 'Z'));
    });
    if (kind === 'cancel ') setTimeout(() => connection.cancel(), 400);
    if (values.length > 0) connection.execSql(request);
    else connection.execSqlBatch(request);
  });
}

connection.connect(async (error) => {
  if (error) throw error;
  for await (const line of readline.createInterface({input: process.stdin})) {
    await run(line.replace(/\\n/g, '\n'));
    print('end');
  }
  connection.close();
});
