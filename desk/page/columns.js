// Which columns the table shows, in which order and how wide. The browser remembers them for each report.
import { recall, remember } from './settings.js';
import { label } from './i18n.js';
import { formatCell } from './format.js';

const kNarrow = 48;
const kWide = 300; // what a column takes by itself; by hand it may be wider
const kBold = 1.12; // how much wider bold figures are
const kMenuRoom = 38; // of a heading, for padding, sort mark and menu

export class Columns {
  // The columns of a run's status. `hidden`, a list of names, stands over what is remembered.
  constructor(reportClass, columns, hidden) {
    this.key = 'columns.' + reportClass;
    this.kept = { order: [], widths: {}, hidden: {}, frozen: {}, ...recall(this.key, {}) };
    this.all = columns.map((column, index) => ({ ...column, index }));
    if (hidden) this.kept.hidden = Object.fromEntries(this.all.map(({ name }) => [name, hidden.includes(name)]));
    const rank = new Map(this.kept.order.map((name, index) => [name, index]));
    // A column that is new since then stays behind the one that it follows.
    let last = -1;
    this.all = this.all
      .map((column) => [(last = rank.get(column.name) ?? last), column])
      .sort((a, b) => a[0] - b[0] || a[1].index - b[1].index)
      .map(([, column]) => column);
    this.fitted = {};
  }

  isHidden = ({ name, empty }) => this.kept.hidden[name] ?? empty;
  isFrozen = ({ name, key }) => this.kept.frozen[name] ?? key;
  width = ({ name }) => this.kept.widths[name] ?? this.fitted[name] ?? 100;

  // What is shown, frozen columns first.
  shown() {
    const seen = this.all.filter((column) => !this.isHidden(column));
    return [...seen.filter(this.isFrozen), ...seen.filter((column) => !this.isFrozen(column))];
  }

  // The names of what is not.
  hiddenNames = () => this.all.filter(this.isHidden).map(({ name }) => name);

  // Makes columns as wide as their headings, `rows` and totals (null for none) ask for in a table of that width.
  fit(rows, totals, font, width) {
    const pen = document.createElement('canvas').getContext('2d');
    pen.font = font;
    const measure = (text) => pen.measureText(text).width;
    for (const column of this.all) {
      let widest = measure(label(column)) + kMenuRoom;
      for (const row of rows) widest = Math.max(widest, measure(formatCell(row[column.index], column)) + 18);
      if (totals && column.name in totals)
        widest = Math.max(widest, measure(formatCell(totals[column.name], column)) * kBold + 18);
      this.fitted[column.name] = Math.round(Math.min(kWide, width * 0.55, Math.max(kNarrow, widest)));
    }
  }

  setHidden(names, hidden) {
    for (const name of names) this.kept.hidden[name] = hidden;
    this.keep();
  }

  setFrozen({ name }, frozen) {
    this.kept.frozen[name] = frozen;
    this.keep();
  }

  setWidth({ name }, width) {
    this.kept.widths[name] = Math.round(Math.max(kNarrow, width));
    this.keep();
  }

  // Puts a column where `target` stands.
  move(column, target) {
    const rest = this.all.filter((other) => other !== column);
    const forward = this.all.indexOf(column) < this.all.indexOf(target);
    rest.splice(rest.indexOf(target) + (forward ? 1 : 0), 0, column);
    this.all = rest;
    this.kept.order = rest.map(({ name }) => name);
    this.keep();
  }

  // Forgets everything that was set by hand.
  reset() {
    this.kept = { order: [], widths: {}, hidden: {}, frozen: {} };
    this.all.sort((a, b) => a.index - b.index);
    this.keep();
  }

  keep() {
    remember(this.key, this.kept);
  }
}
