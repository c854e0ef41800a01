// The reports by group, found by their Chinese and English titles; below them the saved requests.
import { h, byId } from './dom.js';
import { state, on } from './state.js';
import { label, t } from './i18n.js';
import { savedSection } from './saved.js';

// Fills the side of the page. `open` is called with the report that was chosen, `openSaved` with the name
// of a saved request.
export function showReports(open, openSaved) {
  const side = byId('reports');
  const search = h('input', { type: 'search', id: 'search', autocomplete: 'off', spellcheck: 'false' });
  const list = h('div', { class: 'groups' });
  const saved = h('div');

  const draw = () => {
    search.placeholder = t('search');
    search.setAttribute('aria-label', t('search'));
    const groups = grouped(matching(search.value));
    list.replaceChildren(...groups.map(([name, reports]) => group(name, reports, open)));
    if (!groups.length) list.append(h('p', { class: 'faint' }, t('noReport')));
    saved.replaceChildren(savedSection(openSaved) ?? '');
  };
  search.addEventListener('input', draw);
  search.addEventListener('keydown', (event) => {
    const first = list.querySelector('button');
    if (event.key === 'Enter' && first) first.click();
    if (event.key === 'ArrowDown' && first) first.focus();
  });
  side.addEventListener('keydown', (event) => walk(event, side));
  side.replaceChildren(search, list, saved);
  for (const event of ['language', 'report', 'saved']) on(event, draw);
  draw();
}

function matching(words) {
  const wanted = words.toLowerCase().split(/\s+/).filter(Boolean);
  return state.reports.filter((report) => {
    const text = `${report.title.zh} ${report.title.en} ${report.class}`.toLowerCase();
    return wanted.every((word) => text.includes(word));
  });
}

function grouped(reports) {
  const groups = new Map();
  for (const report of reports) {
    const name = label(report.group);
    if (!groups.has(name)) groups.set(name, []);
    groups.get(name).push(report);
  }
  return [...groups];
}

function group(name, reports, open) {
  return h(
    'section',
    { 'aria-label': name },
    h('h2', {}, name),
    h(
      'ul',
      {},
      reports.map((report) =>
        h(
          'li',
          {},
          h(
            'button',
            {
              type: 'button',
              class: report.runnable ? 'entry' : 'entry faint',
              'aria-current': state.report === report ? 'page' : null,
              click: () => open(report),
            },
            h('span', {}, label(report.title)),
          ),
        ),
      ),
    ),
  );
}

// Up and down go from entry to entry.
function walk(event, side) {
  const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
  if (!step || event.target.id === 'search') return;
  const entries = [...side.querySelectorAll('.entry')];
  const next = entries[entries.indexOf(event.target) + step];
  event.preventDefault();
  (next ?? byId('search')).focus();
}
