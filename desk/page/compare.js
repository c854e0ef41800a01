// The rows that differ from another run of the report: of another period, or over another connection.
import { h, say } from './dom.js';
import { state, emptyView } from './state.js';
import { api } from './api.js';
import { label, t } from './i18n.js';
import { ask } from './dialog.js';
import { formatCount } from './format.js';
import { periodBefore, yearBefore } from './periods.js';
import { runToEnd, showRun } from './runs.js';

// Asks what to compare with, runs that, and shows the differences. `failed` is called with what goes wrong.
export async function compare(failed) {
  const { run } = state;
  const dates = state.report.filters.filter(({ kind, range }) => kind === 'date' && range);
  const possible = dates.length || state.session.connections?.length;
  const answer = await ask(t('compareTitle'), {
    ok: possible ? t('compare').replace('…', '') : null,
    content: [choices(dates)],
  });
  if (!answer?.with) return;
  const request = structuredClone(run.request);
  if (answer.with === 'period')
    setPeriod(
      request,
      dates.find(({ name }) => name === answer.filter),
      answer,
    );
  try {
    const other = await runToEnd(request, answer.with === 'connection' ? answer.connection : undefined);
    if (other.state !== 'done') {
      failed(other.error ?? new Error(t('stopped')));
      return;
    }
    const { run: id } = await api.compare(run.id, other.id);
    let status = await api.status(id);
    while (status.state === 'running') {
      await new Promise((done) => setTimeout(done, 100));
      status = await api.status(id);
    }
    api.forget(other.id).catch(() => {});
    if (status.error) {
      failed(status.error);
      return;
    }
    state.view = emptyView();
    showRun({ ...status, id, request: run.request, base: run, against: answer }, { keep: run });
    say(status.rows ? `${t('differences')}: ${t('rows', { n: formatCount(status.rows) })}` : t('noDifferences'));
  } catch (error) {
    failed(error);
  }
}

// Leaves the differences for the result that they were taken from.
export function leaveComparison() {
  state.view = emptyView();
  showRun(state.run.base);
}

function setPeriod(request, { name, caption }, { from, to }) {
  request.filters = (request.filters ?? []).filter((item) => item.Name !== name);
  request.filters.push({ Name: name, strcaption: caption, varValue: from, varValue2: to });
}

function choices(dates) {
  const radio = (value, text, on) =>
    h('label', {}, h('input', { type: 'radio', name: 'with', value, checked: on }), text);
  const names = state.session.connections ?? [];
  const other = !names.length
    ? [h('p', { class: 'faint' }, t('connectionHint'))]
    : [
        radio('connection', t('otherConnection'), !dates.length),
        h(
          'label',
          { class: 'field' },
          t('connection'),
          h(
            'select',
            { name: 'connection' },
            names.map((name) => h('option', { value: name }, name)),
          ),
        ),
      ];
  if (!dates.length) return h('div', { class: 'choices' }, h('p', { class: 'faint' }, t('noPeriod')), other);
  return h('div', { class: 'choices' }, radio('period', t('otherPeriod'), true), period(dates), other);
}

// The period to compare with: at first that of a year earlier.
function period(dates) {
  const filter = dates.find(({ name }) => state.values[name]?.from) ?? dates[0];
  const { from, to } = state.values[filter.name] ?? {};
  const start = h('input', {
    type: 'date',
    name: 'from',
    'aria-label': t('from'),
    value: from ? yearBefore(from) : '',
  });
  const end = h('input', { type: 'date', name: 'to', 'aria-label': t('to'), value: to ? yearBefore(to) : '' });
  const set = (a, b) => {
    [start.value, end.value] = [a, b];
  };
  const quick =
    from && to
      ? h(
          'span',
          { class: 'buttons' },
          h('button', { type: 'button', click: () => set(yearBefore(from), yearBefore(to)) }, t('yearBefore')),
          h('button', { type: 'button', click: () => set(...periodBefore(from, to)) }, t('periodBefore')),
        )
      : null;
  return h(
    'fieldset',
    { class: 'field' },
    h('input', { type: 'hidden', name: 'filter', value: filter.name }),
    h('legend', {}, label(filter)),
    h('div', { class: 'range' }, start, h('span', {}, '–'), end),
    quick,
  );
}
