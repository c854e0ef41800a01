// What lies behind a result: subtitle, statements with what the filters put there marked, parameters,
// exports, and the request as JSON, as a command and as a link.
import { h, say, save } from './dom.js';
import { state, on } from './state.js';
import { api } from './api.js';
import { label, t } from './i18n.js';
import { findingElement } from './findings.js';
import { formatCount, formatSeconds, fileName } from './format.js';

// Keeps `host` in step with the result. `link` gives the address that opens this view again.
export function showDetails(host, link) {
  const draw = () => {
    const { run } = state;
    const parts = run ? [facts, warnings, messages, exports, statements, parameters, handOn] : [];
    host.replaceChildren(...parts.map((part) => part(run, link)).filter(Boolean));
  };
  for (const event of ['run', 'view', 'columns', 'language']) on(event, draw);
}

const section = (title, ...content) => h('section', {}, h('h3', {}, title), content);

function facts(run) {
  const rows = [
    [t('subtitle'), run.subtitle],
    [t('rowCount'), formatCount(run.rows)],
    [t('time'), t('seconds', { n: formatSeconds(run.seconds) })],
    [t('className'), run.request.class],
  ].filter(([, value]) => value);
  return h('dl', { class: 'facts' }, rows.map(([name, value]) => [h('dt', {}, name), h('dd', {}, value)]).flat());
}

function warnings({ warnings: all = [] }) {
  return all.length ? section(t('findings'), all.map(findingElement)) : null;
}

function messages({ messages: all = [] }) {
  return all.length
    ? section(
        t('messages'),
        all.map((text) => h('p', {}, text)),
      )
    : null;
}

// Exports keep the order and the filters of the table.
function exports(run) {
  if (run.state !== 'done') return null;
  return section(
    t('exportAs'),
    h(
      'p',
      { class: 'buttons' },
      ['xlsx', 'csv', 'json'].map((format) =>
        h(
          'a',
          {
            class: 'button',
            href: api.exportAddress(run.id, format, state.view),
            download: `${fileName(run.title || run.request.class)}.${format}`,
          },
          format,
        ),
      ),
    ),
  );
}

function statements({ statements: all = [] }) {
  if (!all.length) return null;
  return h(
    'section',
    {},
    h('h3', {}, t('statements', { n: all.length })),
    all.some(({ marks }) => marks?.length) ? h('p', { class: 'faint' }, t('marked')) : null,
    all.map((statement, index) =>
      h(
        'details',
        { open: all.length <= 3 || Boolean(statement.marks?.length) },
        h(
          'summary',
          {},
          h('span', { class: 'unseen' }, t('statement', { n: '' })),
          `${index + 1}. `,
          h('code', {}, statement.sql.trim().slice(0, 60)),
        ),
        h('pre', { class: 'sql', tabindex: '0' }, marked(statement)),
      ),
    ),
  );
}

// The statement's text in pieces: those that a filter put there are marked, with the filter's name.
function marked({ sql, marks = [] }) {
  const pieces = [];
  let at = 0;
  for (const { from, to, filter } of [...marks].sort((a, b) => a.from - b.from)) {
    if (from < at) continue; // within another one
    const known = state.report.filters.find(({ name }) => name === filter);
    pieces.push(sql.slice(at, from), h('mark', { title: known ? label(known) : filter }, sql.slice(from, to)));
    at = to;
  }
  return [...pieces, sql.slice(at)];
}

function parameters({ parameters: all = [] }) {
  if (!all.length) return null;
  const heads = ['pName', 'pType', 'pSize', 'pLength', 'pValue'];
  return section(
    t('parameters', { n: all.length }),
    h('p', {}, h('code', {}, all[0].procedure)),
    h(
      'div',
      { class: 'scrolls', tabindex: '0', role: 'region', 'aria-label': t('parameters', { n: all.length }) },
      h(
        'table',
        {},
        h(
          'thead',
          {},
          h(
            'tr',
            {},
            heads.map((key) => h('th', { scope: 'col' }, t(key))),
          ),
        ),
        h(
          'tbody',
          {},
          all.map(({ name, type, size, length, value }) =>
            h(
              'tr',
              {},
              h('th', { scope: 'row' }, name),
              h('td', {}, type),
              h('td', { class: 'number' }, size),
              h('td', { class: 'number' }, length),
              h('td', {}, value),
            ),
          ),
        ),
      ),
    ),
  );
}

function handOn(run, link) {
  const json = JSON.stringify(run.request, null, 2);
  const command = h('pre', { tabindex: '0', class: 'wraps' });
  const copyCommand = copyButton(() => command.textContent);
  api.command(run.request).then(
    (answer) => {
      command.textContent = answer.command;
    },
    (error) => {
      command.textContent = error.message;
    },
  );
  const address = link();
  return h(
    'section',
    {},
    h('h3', {}, t('asCommand')),
    command,
    h('p', { class: 'buttons' }, copyCommand),
    h('h3', {}, t('asLink')),
    h(
      'p',
      { class: 'buttons' },
      h('a', { href: address, class: 'button', id: 'view-link' }, t('openLink')),
      copyButton(() => address),
    ),
    h('h3', {}, t('asRequest')),
    h('pre', { tabindex: '0', id: 'request-json' }, json),
    h(
      'p',
      { class: 'buttons' },
      copyButton(() => json),
      h(
        'button',
        {
          type: 'button',
          click: () => save(new Blob([json + '\n'], { type: 'application/json' }), `${run.request.class}.json`),
        },
        t('download'),
      ),
    ),
  );
}

function copyButton(text) {
  return h(
    'button',
    {
      type: 'button',
      click: async () => {
        await navigator.clipboard.writeText(text());
        say(t('copiedText'));
      },
    },
    t('copy'),
  );
}
