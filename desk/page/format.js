// Numbers and names as people read them. Numbers stay text, so that no digit is lost on the way.

import { t } from './i18n.js';
import { texts } from './texts.js';

// "-1234.5" as "-1,234.50", with at least `digits` decimals. What is no plain number stays as it is.
export function formatNumber(text, digits = 0) {
  const parts = /^(-?)(\d+)(?:\.(\d+))?$/.exec(text);
  if (!parts) return text;
  const [, sign, whole, decimals = ''] = parts;
  const grouped = whole.replace(/\B(?=(\d{3})+$)/g, ',');
  const shown = decimals.padEnd(digits, '0');
  return sign + grouped + (shown ? '.' + shown : '');
}

// A cell as the table shows it: null is nothing, and what a comparison found is told in the page's language.
export function formatCell(value, column) {
  if (value === null || value === undefined) return '';
  if (column.name === '±' && value in texts) return t(value);
  return column.kind === 'number' ? formatNumber(String(value), column.digits) : String(value);
}

// A count with its thousands parted.
export const formatCount = (n) => formatNumber(String(n));

// Seconds with as many digits as matter.
export const formatSeconds = (seconds) => (seconds < 10 ? seconds.toFixed(2) : seconds.toFixed(0));

// A name that every file system takes.
export const fileName = (text) => text.replace(/[\\/:*?"<>|\p{C}]/gu, '_');
