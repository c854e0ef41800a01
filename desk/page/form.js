// The form of the open report, made from its own filters.
import { h, byId } from './dom.js';
import { state, on, emit } from './state.js';
import { label, t, told } from './i18n.js';
import { field } from './fields.js';
import { checker, placeFindings } from './findings.js';
import { requestOf } from './request.js';

const kLogin = { 'login.CurDate': ['CurDate', 'loginDate', 'date'], 'login.cAcc_Id': ['cAcc_Id', 'account', 'text'] };
const kRarelyUsed = /(Free|Define)\d+$/; // attributes of a company's own, which few have

let panel = null;
let places = new Map();
let general = null;

// The request for what the form holds now.
export const currentRequest = () => requestOf(state.report, state.values, state.login);

// Keeps the form in step with the report, its values and the language.
export function showForm() {
  const check = checker((findings) => general && placeFindings(findings, places, general));
  const draw = () => {
    if (!state.report) return;
    drawForm();
    check(currentRequest());
  };
  on('report', draw);
  on('language', draw);
  on('filled', draw);
  on('values', () => {
    panel.querySelector('.chosen').replaceChildren(...summary());
    check(currentRequest());
  });
}

// Folds the form away, or shows it.
export function foldForm(folded) {
  if (panel) panel.open = !folded;
}

function drawForm() {
  const wasOpen = panel ? panel.open : true;
  places = new Map();
  general = h('div', { class: 'findings general' });
  const filters = state.report.filters.map((filter) => [filter, filterField(filter)]);
  const rare = filters.filter(([filter]) => kRarelyUsed.test(filter.name));
  const usual = filters.filter(([filter]) => !kRarelyUsed.test(filter.name));
  panel = h(
    'details',
    { class: 'filters' },
    h('summary', {}, h('span', { class: 'word' }, t('filters')), h('span', { class: 'chosen' }, summary())),
    h(
      'form',
      { id: 'filters', autocomplete: 'off', submit: (event) => event.preventDefault() },
      h(
        'div',
        { class: 'fields' },
        loginFields(),
        usual.map(([, element]) => element),
      ),
      rare.length
        ? h(
            'details',
            { class: 'more', open: rare.some(([filter]) => state.values[filter.name]) },
            h('summary', {}, t('moreFilters', { n: rare.length })),
            h(
              'div',
              { class: 'fields' },
              rare.map(([, element]) => element),
            ),
          )
        : null,
      filters.length ? null : h('p', { class: 'faint' }, t('noFilters')),
    ),
    general,
    notes(),
  );
  panel.open = wasOpen;
  byId('form').replaceChildren(panel);
}

function filterField(filter) {
  const { element, findings } = field(filter, state.values[filter.name], state.session.today, (value) => {
    state.values[filter.name] = value;
    emit('values');
  });
  places.set(filter.name, findings);
  return element;
}

function loginFields() {
  return (state.report.inputs ?? [])
    .filter((name) => kLogin[name])
    .map((name) => {
      const [key, text, kind] = kLogin[name];
      const filter = { name, caption: t(text), english: t(text), kind, range: false };
      const { element } = field(filter, { from: state.login[key] }, state.session.today, ({ from }) => {
        state.login[key] = from;
        emit('values');
      });
      return element;
    });
}

// What is set, in a line.
function summary() {
  const set = state.report.filters.filter(({ name }) => state.values[name]?.from || state.values[name]?.to);
  if (!set.length) return [t('all')];
  return set.map((filter) => {
    const { from, to } = state.values[filter.name];
    const option = filter.options?.find(({ value }) => value === from);
    const text = option
      ? label(option)
      : filter.range && to
        ? `${from} – ${to}`
        : filter.range && filter.kind === 'date'
          ? `${from} –`
          : from;
    return h('span', { class: 'chip' }, label(filter), ' ', h('b', {}, text));
  });
}

// What the report does that nobody would expect, to read at leisure.
function notes() {
  const all = state.report.notes ?? [];
  if (!all.length) return null;
  const caption = (name) => label(state.report.filters.find((filter) => filter.name === name) ?? { caption: name });
  return h(
    'details',
    { class: 'notes' },
    h('summary', {}, t('notes', { n: all.length })),
    h(
      'ul',
      {},
      all.map((note) =>
        h(
          'li',
          {},
          h('code', {}, note.code),
          ' ',
          note.filter ? h('b', {}, caption(note.filter), ' ') : null,
          told(note, 'does'),
          ' ',
          h('span', { class: 'instead' }, told(note, 'instead')),
        ),
      ),
    ),
  );
}
