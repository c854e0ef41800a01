// Requests: the form's values as the JSON that `run` and `batch` read, and back; and as a link.

// A dialogue's own choice (def_…) is part of the set though it is empty: without it a report takes the last
// filter for it.
const isAlwaysSent = (filter) => filter.required || (filter.kind === 'option' && filter.name.startsWith('def_'));

// The request for what stands in the form. `values` by filter: {from, to}; a filter without a range has
// `from` alone.
export function requestOf(report, values, login) {
  const filters = [];
  for (const filter of report.filters) {
    const { from = '', to = '' } = values[filter.name] ?? {};
    if (!from && !to && !isAlwaysSent(filter)) continue;
    const item = { Name: filter.name, strcaption: filter.caption, varValue: from };
    if (filter.range && to) item.varValue2 = to;
    const worded = condition(filter, from, to);
    if (worded) item.strSqlString = worded;
    filters.push(item);
  }
  const request = { class: report.class, ReportTitle: report.title.zh, filters };
  const given = Object.fromEntries(Object.entries(login).filter(([, value]) => value));
  if (Object.keys(given).length) request.login = given;
  return request;
}

// The condition of a filter that the host words, where the values alone would mean another one: a range open
// above, which would be one value, and a list.
function condition(filter, from, to) {
  if (filter.wordedBy !== 'host' || !from) return null;
  const quoted = (value) => `'${value.trim().replace(/'/g, "''")}'`;
  if (filter.range && !to) return `${filter.name} >= ${quoted(from)}`;
  const several = filter.list ? from.split(/[,，]/) : [];
  return several.length > 1 ? `${filter.name} In (${several.map(quoted).join(', ')})` : null;
}

// The form's values in a request: {values, login}. What the form has no field for is left out.
export function valuesOf(report, request) {
  const values = {};
  for (const item of request.filters ?? []) {
    const filter =
      report.filters.find(({ name }) => name === item.Name) ??
      report.filters.find(({ caption }) => caption === item.strcaption);
    if (!filter) continue;
    const [from, to] = [textOf(item.varValue), textOf(item.varValue2)];
    const isOneValue = filter.range && filter.wordedBy === 'host' && !to && !item.strSqlString;
    values[filter.name] = { from, to: isOneValue ? from : to };
  }
  return { values, login: { ...request.login } };
}

const textOf = (value) => (value === null || value === undefined ? '' : String(value));

// What a link holds, as base64url of its JSON.
export function encodeLink(content) {
  const bytes = new TextEncoder().encode(JSON.stringify(content));
  return btoa(Array.from(bytes, (byte) => String.fromCharCode(byte)).join(''))
    .replace(/\+/g, '-')
    .replace(/\//g, '_')
    .replace(/=+$/, '');
}

// What a link holds. Throws where it is none.
export function decodeLink(text) {
  const binary = atob(text.replace(/-/g, '+').replace(/_/g, '/'));
  return JSON.parse(new TextDecoder('utf-8', { fatal: true }).decode(Uint8Array.from(binary, (c) => c.charCodeAt(0))));
}
