// What `check` finds, beside the field that it concerns, while the form is filled in.
import { h, debounce } from './dom.js';
import { api } from './api.js';
import { t, told } from './i18n.js';

const kRank = { error: 0, warning: 1, note: 2 };

// One finding as an element.
export function findingElement(finding) {
  const { severity, code } = finding;
  return h(
    'p',
    { class: `finding ${severity}` },
    h('b', {}, t(severity)),
    ' ',
    told(finding, 'text'),
    ' ',
    h('span', { class: 'instead' }, told(finding, 'instead')),
    ' ',
    h('code', {}, code),
  );
}

// Puts findings at their fields: `places` maps a filter's name to its place, `general` takes the rest.
export function placeFindings(findings, places, general) {
  for (const place of [...places.values(), general]) place.replaceChildren();
  const sorted = [...findings].sort((a, b) => kRank[a.severity] - kRank[b.severity]);
  for (const finding of sorted) {
    (places.get(finding.filter) ?? general).append(findingElement(finding));
  }
}

// A function that has a request checked soon, by itself and then with what the database knows, and gives what
// was found to `show`. Of several calls the last one counts.
export function checker(show) {
  let asked = null;
  return debounce(300, async (request) => {
    asked?.abort();
    asked = new AbortController();
    try {
      const { signal } = asked;
      for (const database of [undefined, 1]) show((await api.check(request, database, signal)).findings);
    } catch (error) {
      if (error.name !== 'AbortError')
        show([{ severity: 'error', code: '', filter: null, text: error.message, instead: '' }]);
    }
  });
}
