// The buttons below the form: run, stop, save; and how far a run is.
import { h, byId } from './dom.js';
import { state, on, emit } from './state.js';
import { label, t } from './i18n.js';
import { formatCount, formatSeconds } from './format.js';
import { currentRequest } from './form.js';
import { isRunning, stopRun } from './runs.js';
import { saveRequest } from './saved.js';

// Fills the row of buttons. `run` runs the report, `failed` takes an error.
export function showActions(run, failed) {
  const progress = h('div', { class: 'progress', id: 'progress' });
  const draw = () => {
    if (!state.report) return;
    const { runnable, why } = state.report;
    byId('actions').replaceChildren(
      h(
        'button',
        {
          type: 'button',
          id: 'run',
          class: 'main',
          title: 'Ctrl+Enter',
          disabled: !runnable || isRunning(),
          click: run,
        },
        t('run'),
      ),
      h(
        'button',
        { type: 'button', id: 'stop', title: 'Esc', disabled: !isRunning(), click: () => stopRun().catch(failed) },
        t('stop'),
      ),
      h(
        'button',
        {
          type: 'button',
          id: 'clear',
          click: () => {
            state.values = {};
            emit('filled');
          },
        },
        t('clear'),
      ),
      state.session.folder && runnable
        ? h(
            'button',
            { type: 'button', id: 'save', click: () => saveRequest(currentRequest()).catch(failed) },
            t('saveRequest'),
          )
        : '',
      runnable
        ? progress
        : h('p', { class: 'finding warning', id: 'why' }, h('b', {}, t('notRunnable')), ' ', why ? label(why) : ''),
    );
  };
  on('report', () => {
    progress.replaceChildren();
    draw();
  });
  on('language', () => {
    draw();
    showEnd(progress);
  });
  on('run', () => {
    draw();
    showEnd(progress);
  });
  on('running', (status) => {
    byId('run').disabled = Boolean(status);
    byId('stop').disabled = !status;
    progress.replaceChildren(
      ...(status ? [h('progress', { 'aria-label': t('running') }), h('span', {}, stepText(status))] : []),
    );
  });
}

function stepText({ stopping, phase, seconds, rows }) {
  const parts = [stopping ? t('stopping') : t('running'), phase, t('seconds', { n: formatSeconds(seconds) })];
  if (rows) parts.push(t('rows', { n: formatCount(rows) }));
  return parts.filter(Boolean).join(' · ');
}

function showEnd(progress) {
  const { run } = state;
  if (run?.state !== 'done') return;
  progress.replaceChildren(
    h('span', { class: 'faint', id: 'done' }, t('done', { n: formatCount(run.rows), s: formatSeconds(run.seconds) })),
  );
}
