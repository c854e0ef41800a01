// Errors, with the server's number, the line, and a caret below the place.
import { h, byId } from './dom.js';
import { state } from './state.js';
import { t } from './i18n.js';
import { ApiError } from './api.js';

// An error of a run as an element: {number, line, column, text, statement}.
export function errorElement({ number, line, column, text, statement }) {
  const title = number && line ? t('errorAt', { number, line }) : number ? t('errorNumber', { number }) : t('error');
  return h(
    'div',
    { class: 'finding error' },
    h('p', {}, h('b', {}, title), ' ', text),
    statement && line ? h('pre', { tabindex: '0', class: 'sql' }, atPlace(statement, line, column)) : null,
  );
}

// The lines around the place, numbered, with a caret below it.
function atPlace(statement, line, column) {
  const lines = statement.split(/\r?\n/);
  const first = Math.max(0, line - 3);
  const pieces = [];
  lines.slice(first, line + 2).forEach((text, index) => {
    const number = String(first + index + 1).padStart(4) + '  ';
    const here = first + index + 1 === line;
    // A statement may be one line of thousands of characters: its part around the place is shown.
    const from = here && column > 60 ? column - 41 : 0;
    const shown = (from ? '…' : '') + text.slice(from, from + 160) + (text.length > from + 160 ? '…' : '');
    pieces.push(number + shown + '\n');
    if (here && column)
      pieces.push(
        h(
          'b',
          { class: 'caret' },
          `${' '.repeat(number.length)}${underneath(shown.slice(0, column - 1 - from + (from ? 1 : 0)))}^`,
        ),
        '\n',
      );
  });
  return pieces;
}

// Blanks as wide as the text above: those of Chinese characters take two columns.
const underneath = (text) =>
  text
    .replace(/[\u1100-\u115f\u2e80-\ua4cf\uac00-\ud7a3\uf900-\ufaff\ufe30-\ufe6f\uff00-\uff60\uffe0-\uffe6]/g, '\u3000')
    .replace(/[^\s\u3000]/g, ' ');

// Shows an error above the result, or takes it away: anything thrown, or the error of a run.
export function showProblem(error) {
  const place = byId('problem');
  place.hidden = !error;
  if (!error) return place.replaceChildren();
  if (!(error instanceof Error)) return place.replaceChildren(errorElement(error));
  const text =
    error instanceof ApiError
      ? error.status === 404 && state.run
        ? `${t('gone')} ${error.message}`
        : error.message
      : error instanceof TypeError
        ? t('offline')
        : String(error.message);
  return place.replaceChildren(errorElement({ number: error.number, line: error.line, column: error.column, text }));
}
