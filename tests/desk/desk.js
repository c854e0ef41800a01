// Serves a sample company with `PROGRAM desk` and opens a browser, for the tests and for the README's picture.
'use strict';
const {execFileSync, spawn} = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

// A sample company in a folder of its own, served until stop() is called, which takes the folder away:
// {connection, requests (the folder of saved requests), ledgerwick(arguments) → output, serve() → link, stop()}.
exports.company = (program) => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'ledgerwick-desk-'));
  const connection = 'embedded:' + path.join(folder, 'company.db');
  const requests = path.join(folder, 'requests');
  const ledgerwick = (...args) =>
    execFileSync(program, args, {encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'], maxBuffer: 1 << 28});
  let service = null;
  fs.mkdirSync(requests);
  ledgerwick('sample', 'create', path.join(folder, 'company.db'));
  return {
    connection,
    requests,
    ledgerwick,
    serve: () => {
      service = exports.desk(program, connection, '--folder', requests);
      return exports.linkOf(service);
    },
    stop: async () => {
      if (service && service.exitCode === null && service.signalCode === null) {
        const ended = new Promise((done) => service.on('exit', done));
        service.kill('SIGTERM');
        await ended;
      }
      fs.rmSync(folder, {recursive: true, force: true});
    },
  };
};

// The process of a desk over a database.
exports.desk = (program, connection, ...options) =>
  spawn(program, ['desk', '--connection', connection, '--listen', '127.0.0.1:0', ...options]);

// Chromium by the playwright-core that npm has put into `modules`.
exports.browser = (modules) => {
  const {chromium} = require(path.join(modules, 'playwright-core'));
  // Root has no sandbox.
  return chromium.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    args: process.getuid() === 0 ? ['--no-sandbox'] : [],
  });
};

// The first link that the desk prints.
exports.linkOf = (service) =>
  new Promise((done, failed) => {
    let text = '';
    const read = (data) => {
      text += data;
      const found = /https?:\/\/\S+/.exec(text);
      if (found) done(found[0]);
    };
    service.stdout.on('data', read);
    service.stderr.on('data', read);
    service.on('exit', () => failed(new Error('the desk ended: ' + text)));
  });
