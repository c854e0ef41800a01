// The service's JSON interface, version 1.

const kRoot = '/api/1';
const kPause = 200; // milliseconds

// What the service said no with: its text, and a database's number, line and column where there are any.
export class ApiError extends Error {
  constructor(status, error) {
    super(error.text);
    Object.assign(this, { status, number: error.number, line: error.line, column: error.column });
  }
}

async function call(method, path, body, signal) {
  const headers = method === 'GET' ? {} : { 'X-Ledgerwick': '1' };
  if (body !== undefined) headers['Content-Type'] = 'application/json';
  const ask = () =>
    fetch(kRoot + path, {
      method,
      headers,
      signal,
      body: body === undefined ? undefined : JSON.stringify(body),
      credentials: 'same-origin',
    });
  const answer = await ask().catch(async (error) => {
    if (signal?.aborted) throw error;
    // A connection may break that was kept open, and a network may come and go: once more.
    await new Promise((done) => setTimeout(done, kPause));
    return ask();
  });
  const text = await answer.text();
  let json = null;
  try {
    json = text ? JSON.parse(text) : null;
  } catch {
    json = null; // a refusal need not be JSON
  }
  if (!answer.ok) throw new ApiError(answer.status, json?.error ?? { text: text || answer.statusText });
  return json;
}

function query(parameters) {
  const parts = Object.entries(parameters).filter(([, value]) => value !== undefined && value !== '');
  return parts.length ? '?' + parts.map(([name, value]) => `${name}=${encodeURIComponent(value)}`).join('&') : '';
}

// How sort and filters of a view travel in an address.
function viewParameters({ sort = [], where = [] }) {
  return {
    sort: sort.length
      ? JSON.stringify(sort.map(({ column, descending }) => (descending ? '-' : '') + column))
      : undefined,
    where: where.length ? JSON.stringify(where) : undefined,
  };
}

const run = (id) => `/runs/${encodeURIComponent(id)}`;
const request = (name) => `/requests/${encodeURIComponent(name)}`;

export const api = {
  session: () => call('GET', '/session'),
  reports: () => call('GET', '/reports'),
  pick: (kind, q, signal) =>
    call('GET', `/pick/${encodeURIComponent(kind)}${query({ q, limit: 50 })}`, undefined, signal),
  check: (body, database, signal) => call('POST', '/check' + query({ database }), body, signal),
  start: (body, connection) => call('POST', '/runs', connection ? { request: body, connection } : { request: body }),
  status: (id) => call('GET', run(id)),
  stop: (id) => call('POST', run(id) + '/stop'),
  forget: (id) => call('DELETE', run(id)),
  rows: (id, view, from, count, signal) =>
    call('GET', run(id) + '/rows' + query({ from, count, ...viewParameters(view) }), undefined, signal),
  totals: (id, { where }) => call('GET', run(id) + '/totals' + query(viewParameters({ where }))),
  values: (id, column, q, limit) => call('GET', run(id) + '/values' + query({ column, q, limit })),
  groups: (id, category, values, limit, by, { where }) =>
    call(
      'GET',
      run(id) +
        '/groups' +
        query({ category, values: JSON.stringify(values), limit, by, ...viewParameters({ where }) }),
    ),
  compare: (id, other) => call('POST', run(id) + '/compare', { with: other }),
  exportAddress: (id, format, view) => kRoot + run(id) + '/export' + query({ format, ...viewParameters(view) }),
  command: (body) => call('POST', '/command', body),
  trace: (body) => call('POST', '/trace', body),
  requests: () => call('GET', '/requests'),
  readRequest: (name) => call('GET', request(name)),
  saveRequest: (name, body) => call('PUT', request(name), body),
  deleteRequest: (name) => call('DELETE', request(name)),
};
