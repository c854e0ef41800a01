// The result: table, picture and details, of which the details stand beside the table where there is room.
import { h, byId } from './dom.js';
import { state, on, emit } from './state.js';
import { label, t } from './i18n.js';
import { recall, remember } from './settings.js';
import { Table } from './table.js';
import { Picture } from './picture.js';
import { showDetails } from './details.js';
import { compare, leaveComparison } from './compare.js';
import { printTable } from './print.js';

const kTabs = ['table', 'picture', 'details'];

// Sets the result's part of the page up. `link` gives the address of the view, `failed` takes an error. Gives
// a function that shows one of the three, by number from 1.
export function showResult(link, failed) {
  const panels = Object.fromEntries(
    kTabs.map((name) => [
      name,
      h('div', { id: `panel-${name}`, class: `part ${name}`, role: 'tabpanel', 'aria-labelledby': `tab-${name}` }),
    ]),
  );
  const tabs = h('div', { role: 'tablist', class: 'tabs' });
  const tools = h('div', { class: 'tools' });
  let tab = 'table';
  const choose = (name, focus) => {
    // Where there is room the details stand beside the others.
    if (name === 'details' && isWide()) {
      remember('beside', !recall('beside', true));
    } else {
      tab = name;
    }
    arrange();
    if (focus) byId(`tab-${name}`).focus();
    emit('picture');
  };
  const arrange = () => {
    const wide = isWide();
    if (wide && tab === 'details') tab = 'table';
    const isDone = state.run?.state === 'done';
    const beside = wide && isDone && recall('beside', true);
    // A run that failed has details alone.
    for (const name of kTabs)
      panels[name].hidden = isDone ? name !== tab && !(name === 'details' && beside) : name !== 'details';
    byId('result').classList.toggle('beside', beside);
    tabs.hidden = tools.hidden = !isDone;
    for (const button of tabs.children) {
      const name = button.dataset.tab;
      button.setAttribute('aria-selected', String(name === tab));
      button.tabIndex = name === tab ? 0 : -1;
    }
    const details = byId('show-details');
    if (details) {
      details.hidden = !wide;
      details.setAttribute('aria-pressed', String(beside));
    }
    if (byId('tab-details')) byId('tab-details').hidden = wide;
  };
  const drawTools = () => {
    tabs.setAttribute('aria-label', t('result'));
    tabs.replaceChildren(
      ...kTabs.map((name, index) =>
        h(
          'button',
          {
            type: 'button',
            role: 'tab',
            id: `tab-${name}`,
            'aria-controls': `panel-${name}`,
            'data-tab': name,
            title: `Alt+${index + 1}`,
            click: () => choose(name),
          },
          t(name),
        ),
      ),
    );
    tools.replaceChildren(
      ...(state.run?.state === 'done' ? toolButtons(failed) : []),
      h(
        'button',
        {
          type: 'button',
          id: 'show-details',
          'aria-controls': 'panel-details',
          title: 'Alt+3',
          click: () => choose('details'),
        },
        t('details'),
      ),
    );
    arrange();
  };
  tabs.addEventListener('keydown', (event) => {
    const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (!step) return;
    const seen = kTabs.filter((name) => !byId(`tab-${name}`).hidden);
    choose(seen[(seen.indexOf(tab) + step + seen.length) % seen.length], true);
    event.preventDefault();
  });
  byId('result').append(
    h('div', { class: 'result-head' }, tabs, tools),
    h('div', { class: 'parts' }, Object.values(panels)),
  );
  on('run', () => {
    byId('result').hidden = !state.run;
    drawTools();
  });
  on('language', drawTools);
  matchMedia('(min-width: 1100px)').addEventListener('change', arrange);
  const table = new Table(panels.table, failed);
  const picture = new Picture(panels.picture, () => !panels.picture.hidden, failed);
  showDetails(panels.details, link);
  window.addEventListener('resize', () => table.show());
  return { choose: (number) => state.run && choose(kTabs[number - 1], true), table, picture };
}

const isWide = () => matchMedia('(min-width: 1100px)').matches;

function toolButtons(failed) {
  const { run } = state;
  return [
    run.base
      ? h(
          'span',
          { class: 'difference' },
          t('differences'),
          run.against?.from ? `: ${run.against.from} – ${run.against.to}` : `: ${run.against?.connection ?? ''}`,
        )
      : null,
    run.base
      ? h('button', { type: 'button', id: 'back', click: leaveComparison }, t('backToRun'))
      : h('button', { type: 'button', id: 'compare', click: () => compare(failed) }, t('compare')),
    h(
      'button',
      { type: 'button', id: 'print', click: () => printTable(failed), title: label(state.report.title) },
      t('print'),
    ),
  ].filter(Boolean);
}
