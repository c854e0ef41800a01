// The desk: opens reports, runs them, and keeps the address in step, so that a link opens the same view again.
import { byId, h, say } from './dom.js';
import { state, emit, on, emptyView } from './state.js';
import { api } from './api.js';
import { label, languageNow, setLanguage, t } from './i18n.js';
import { recall, remember } from './settings.js';
import { showReports } from './report_list.js';
import { currentRequest, foldForm, showForm } from './form.js';
import { showActions } from './actions.js';
import { showProblem } from './problem.js';
import { showResult } from './result.js';
import { isRunning, runToEnd, showRun, stopRun } from './runs.js';
import { loadSaved } from './saved.js';
import { decodeLink, encodeLink, valuesOf } from './request.js';
import { setKeys } from './keyboard.js';
import { printTable } from './print.js';

const linkOf = (content) => `${location.pathname}#r=${encodeLink(content)}`;
const viewLink = () =>
  new URL(linkOf({ request: state.run.base?.request ?? state.run.request, view: state.view }), location.href).href;

let opened = 0; // reports so far: a run that ends after another was opened is nobody's

// Opens a report with the values of a request, or with none.
function openReport(report, request = null) {
  stopRun().catch(() => {}); // nobody waits for it any more
  ++opened;
  const { values, login } = valuesOf(report, request ?? {});
  Object.assign(state, { report, values, login, view: emptyView() });
  if (!request) state.login = usualLogin(report);
  showRun(null);
  byId('welcome').hidden = true;
  byId('report').hidden = false;
  showProblem(null);
  foldForm(false);
  emit('report');
  closeSide();
}

// What a report reads of the login: today, and the account of the last time.
function usualLogin({ inputs = [] }) {
  const login = {};
  if (inputs.includes('login.CurDate')) login.CurDate = state.session.today;
  if (inputs.includes('login.cAcc_Id')) login.cAcc_Id = recall('account', '001');
  return login;
}

// Opens a report because somebody chose it: the address follows, and the focus.
function chooseReport(report) {
  openReport(report);
  history.pushState(null, '', linkOf({ request: { class: report.class } }));
  byId('main').focus({ preventScroll: true });
  scrollTo(0, 0);
}

async function run() {
  if (isRunning() || !state.report?.runnable) return;
  const request = currentRequest();
  const mine = opened;
  showProblem(null);
  if (request.login?.cAcc_Id) remember('account', request.login.cAcc_Id);
  say(t('running'));
  try {
    const result = await runToEnd(request);
    if (mine === opened) finish(result);
    else api.forget(result.id).catch(() => {});
  } catch (error) {
    showProblem(error);
  }
}

function finish(result) {
  if (result.state === 'stopped') {
    showRun(null);
    say(t('stopped'));
    byId('progress').replaceChildren(h('span', { class: 'faint' }, t('stopped')));
    return;
  }
  const known = new Set(result.columns.map(({ name }) => name));
  state.view.sort = state.view.sort.filter(({ column }) => known.has(column));
  state.view.where = state.view.where.filter(({ column }) => known.has(column));
  showRun(result);
  if (result.state === 'failed') {
    showProblem(result.error ?? new Error(t('failed')));
    return;
  }
  foldForm(true);
  history.replaceState(null, '', viewLink());
}

// Opens what the address names; without anything the page waits for a choice.
async function followAddress() {
  const found = /^#r=([\w-]+)$/.exec(location.hash);
  if (!found) return;
  try {
    const { request, view } = decodeLink(found[1]);
    const report = state.reports.find((one) => one.class === request.class);
    if (!report) throw new Error(request.class);
    openReport(report, request);
    if (!view) return;
    state.view = { ...emptyView(), ...view };
    await run();
  } catch (error) {
    byId('report').hidden = false;
    showProblem(new Error(t('badLink', { text: error.message })));
  }
}

async function openSaved(name) {
  try {
    const request = await api.readRequest(name);
    const report = state.reports.find((one) => one.class === request.class);
    openReport(report, request);
    history.pushState(null, '', linkOf({ request }));
    byId('main').focus();
  } catch (error) {
    showProblem(error);
  }
}

function drawTitle() {
  if (!state.report) return;
  byId('title').textContent = label(state.report.title);
  const other = languageNow() === 'zh' ? state.report.title.en : state.report.title.zh;
  byId('subtitle').textContent = state.run?.subtitle || other;
  document.title = `${label(state.report.title)} – Ledgerwick`;
}

function closeSide() {
  document.body.classList.remove('side-open');
  byId('menu').setAttribute('aria-expanded', 'false');
}

function setTheme(theme) {
  if (theme) document.documentElement.dataset.theme = theme;
  else delete document.documentElement.dataset.theme;
  remember('theme', theme);
  emit('theme');
}

function setSwitches() {
  const language = byId('language');
  language.value = languageNow();
  language.addEventListener('change', () => setLanguage(language.value));
  const theme = byId('theme');
  theme.value = recall('theme', '');
  theme.addEventListener('change', () => setTheme(theme.value));
  setTheme(theme.value);
  byId('menu').addEventListener('click', () => {
    const open = document.body.classList.toggle('side-open');
    byId('menu').setAttribute('aria-expanded', String(open));
    if (open) byId('search').focus();
  });
}

async function start() {
  setLanguage(languageNow());
  setSwitches();
  try {
    const [session, { reports }] = await Promise.all([api.session(), api.reports()]);
    Object.assign(state, { session, reports });
    byId('connection').title = session.connection;
    // The folder is told on demand.
    byId('connection').textContent = session.connection.replace(/^embedded:.*[\\/]/, 'embedded:');
    await loadSaved();
  } catch (error) {
    byId('report').hidden = false;
    showProblem(error);
    return;
  }
  const result = showResult(viewLink, showProblem);
  showForm();
  showActions(run, showProblem);
  showReports(chooseReport, openSaved);
  setKeys({ run, tab: result.choose, print: () => state.run?.state === 'done' && (printTable(showProblem), true) });
  for (const event of ['report', 'run', 'language']) on(event, drawTitle);
  for (const event of ['view', 'columns'])
    on(event, () => !state.run?.base && history.replaceState(null, '', viewLink()));
  window.addEventListener('popstate', followAddress);
  await followAddress();
}

start();
