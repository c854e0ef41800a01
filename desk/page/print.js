// The table on paper, with title and subtitle. A browser lays out every row, so there is a limit.
import { h, say } from './dom.js';
import { state } from './state.js';
import { label, t } from './i18n.js';
import { formatCell, formatCount } from './format.js';
import { Columns } from './columns.js';
import { RowSource } from './rows.js';
import { api } from './api.js';

const kMostRows = 5000;

// Prints what the table shows: its columns, order and filters.
export async function printTable(failed) {
  const { run, view } = state;
  say(t('printing'));
  try {
    const source = new RowSource(run.id, view, () => {}, failed);
    const [rows, { totals }] = await Promise.all([source.slice(0, kMostRows + 1), api.totals(run.id, view)]);
    const columns = new Columns(run.request.class + (run.base ? '±' : ''), run.columns, view.hidden).shown();
    const paper = paperOf(columns, rows.slice(0, kMostRows), totals, rows.length > kMostRows);
    document.body.append(paper);
    window.addEventListener('afterprint', () => paper.remove(), { once: true });
    window.print();
  } catch (error) {
    failed(error);
  }
}

function paperOf(columns, rows, totals, cut) {
  const { run } = state;
  const named = columns.findIndex(({ name }) => !(name in totals));
  return h(
    'div',
    { class: 'paper', 'aria-hidden': 'true' },
    h('h1', {}, run.title || label(state.report.title)),
    run.subtitle ? h('p', {}, run.subtitle) : null,
    h(
      'p',
      { class: 'faint' },
      [...state.report.filters]
        .filter(({ name }) => state.values[name]?.from || state.values[name]?.to)
        .map(
          (filter) =>
            `${label(filter)} ${[state.values[filter.name].from, state.values[filter.name].to].filter(Boolean).join(' – ')}`,
        )
        .join(' · '),
    ),
    h(
      'table',
      {},
      h(
        'thead',
        {},
        h(
          'tr',
          {},
          columns.map((column) => h('th', { class: column.kind }, label(column))),
        ),
      ),
      h(
        'tbody',
        {},
        rows.map((row) =>
          h(
            'tr',
            {},
            columns.map((column) => h('td', { class: column.kind }, formatCell(row[column.index], column))),
          ),
        ),
      ),
      Object.keys(totals).length
        ? h(
            'tfoot',
            {},
            h(
              'tr',
              {},
              columns.map((column, place) =>
                h(
                  'td',
                  { class: column.kind },
                  place === named ? t('total') : column.name in totals ? formatCell(totals[column.name], column) : '',
                ),
              ),
            ),
          )
        : null,
    ),
    h('p', {}, cut ? t('printCut', { n: formatCount(kMostRows) }) : t('rows', { n: formatCount(rows.length) })),
  );
}
