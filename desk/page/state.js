// What the page shows, and who wants to know when it changes.

export const state = {
  session: null, // what /session says
  reports: [], // all of /reports
  saved: [], // the requests in the service's folder
  report: null, // the one that is open
  values: {}, // of its filters, by name: {from, to}; a filter without a range has `from` alone
  login: {}, // what it reads of the login
  run: null, // {id, …} with what /runs/ID says, once it is done or has failed
  view: emptyView(),
};

// Nothing sorted, filtered or hidden.
export function emptyView() {
  return { sort: [], where: [], hidden: null };
}

const listeners = new Map();

// Calls `action` whenever `event` happens: language, theme, report, values, running, run, view, columns, saved.
export function on(event, action) {
  if (!listeners.has(event)) listeners.set(event, []);
  listeners.get(event).push(action);
}

// Says that `event` has happened.
export function emit(event, detail) {
  for (const action of listeners.get(event) ?? []) action(detail);
}
