// Days as yyyy-mm-dd, and the periods that people ask for.

const day = (year, month, date) => new Date(Date.UTC(year, month, date)).toISOString().slice(0, 10);

// The periods by their names, seen from `today`: {key: [from, to]}. `key` is one of the page's texts.
export function periods(today) {
  const [year, month] = today.split('-').map(Number);
  const quarter = Math.floor((month - 1) / 3) * 3;
  const span = (from, months) => [day(year, from, 1), day(year, from + months, 0)];
  return {
    thisMonth: span(month - 1, 1),
    lastMonth: span(month - 2, 1),
    thisQuarter: span(quarter, 3),
    lastQuarter: span(quarter - 3, 3),
    thisYear: span(0, 12),
    lastYear: span(-12, 12),
  };
}

// The same days of the year before; 29 February becomes the 28th.
export function yearBefore(date) {
  const [year, month, dayOfMonth] = date.split('-').map(Number);
  const last = new Date(Date.UTC(year - 1, month, 0)).getUTCDate();
  return day(year - 1, month - 1, Math.min(dayOfMonth, last));
}

// The period of the same length that ends where this one begins: whole months give whole months.
export function periodBefore(from, to) {
  const [y1, m1, d1] = from.split('-').map(Number);
  const [y2, m2, d2] = to.split('-').map(Number);
  if (d1 === 1 && day(y2, m2, 0) === to) {
    const months = (y2 - y1) * 12 + (m2 - m1) + 1;
    return [day(y1, m1 - 1 - months, 1), day(y1, m1 - 1, 0)];
  }
  const days = Math.round((Date.UTC(y2, m2 - 1, d2) - Date.UTC(y1, m1 - 1, d1)) / 86400000) + 1;
  return [day(y1, m1 - 1, d1 - days), day(y1, m1 - 1, d1 - 1)];
}
