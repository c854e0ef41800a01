// Runs a report, tells how far it is, and stops it.
import { state, emit } from './state.js';
import { api } from './api.js';

const kEnds = ['done', 'failed', 'stopped'];
let current = null; // the run under way

// True while a report runs.
export const isRunning = () => current !== null;

const pause = (ms) => new Promise((done) => setTimeout(done, ms));

// Runs a request to its end, telling each step by 'running', and gives {id, …} of its status. Throws ApiError.
export async function runToEnd(request, connection) {
  const mine = { id: null, stopping: false };
  current = mine;
  emit('running', { phase: '', seconds: 0, rows: 0 });
  try {
    const { run: id } = await api.start(request, connection);
    mine.id = id;
    if (mine.stopping) await api.stop(id);
    for (let wait = 30; ; wait = Math.min(wait * 1.5, 500)) {
      const status = await api.status(id);
      if (kEnds.includes(status.state)) return { id, request, ...status };
      emit('running', { ...status, stopping: mine.stopping });
      await pause(wait);
    }
  } finally {
    if (current === mine) current = null;
    emit('running', null);
  }
}

// Stops what runs, if anything does; what has only just been asked for, as soon as it has begun.
export async function stopRun() {
  if (!current || current.stopping) return;
  current.stopping = true;
  if (current.id !== null) await api.stop(current.id);
}

// Makes `run` the page's result, and lets the service forget the one before. A run that others stand on, such
// as that of a comparison, is kept.
export function showRun(run, { keep = null } = {}) {
  const before = state.run;
  state.run = run;
  for (const old of [before, before?.base]) {
    if (old && old !== run && old !== keep && old !== run?.base) api.forget(old.id).catch(() => {});
  }
  emit('run');
}
