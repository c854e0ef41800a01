// The page's keys, and the list of them.
import { h, byId } from './dom.js';
import { t } from './i18n.js';
import { ask } from './dialog.js';
import { isRunning, stopRun } from './runs.js';

// Sets the keys up. `actions`: run(), tab(number from 1), print(), which is false where there is nothing to print.
export function setKeys(actions) {
  byId('help').addEventListener('click', showKeys);
  document.addEventListener('keydown', (event) => {
    const typing = event.target.closest('input, select, textarea');
    const above = document.querySelector('dialog[open]');
    if (above) return;
    if (event.key === 'Enter' && (event.ctrlKey || event.metaKey)) actions.run();
    else if (event.key === 'Enter' && event.target.closest('#filters') && event.target.tagName === 'INPUT')
      actions.run();
    else if (event.key === 'Escape' && isRunning()) stopRun();
    else if (event.altKey && /^[123]$/.test(event.key)) actions.tab(Number(event.key));
    else if (event.key.toLowerCase() === 'p' && (event.ctrlKey || event.metaKey)) {
      if (!actions.print()) return;
    } else if (event.key === '/' && !typing) byId('search').focus();
    else if (event.key === '?' && !typing) showKeys();
    else return;
    event.preventDefault();
  });
}

function showKeys() {
  const keys = [
    ['/', 'keySearch'],
    ['Ctrl+Enter', 'keyRun'],
    ['Esc', 'keyStop'],
    ['Alt+1 2 3', 'keyTabs'],
    ['← ↑ → ↓', 'keyArrows'],
    ['Home End', 'keyEnds'],
    ['Enter', 'keyHeader'],
    ['Alt+↓ · Shift+F10', 'keyMenu'],
    ['Ctrl+C', 'keyCopy'],
  ];
  ask(t('help'), {
    content: [
      h(
        'dl',
        { class: 'keys' },
        keys.map(([key, text]) => [h('dt', {}, h('kbd', {}, key)), h('dd', {}, t(text))]).flat(),
      ),
    ],
  });
}
