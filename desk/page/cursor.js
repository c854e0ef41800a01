// The cell that keys move, the selection, and what is copied.
import { say } from './dom.js';
import { label, t } from './i18n.js';

const kMostRows = 50000; // copied at once

export class Cursor {
  // Moves over `grid`; `sort(column, add)` and `menu(column, anchor)` are what Enter and the menu key do on a
  // heading.
  constructor(grid, { sort, menu }) {
    Object.assign(this, { grid, sort, menu });
    this.at = { row: 0, column: 0 };
    this.anchor = { row: 0, column: 0 };
    grid.select = (row, column) => this.classOf(row, column);
    grid.element.addEventListener('keydown', (event) => this.key(event));
    grid.element.addEventListener('pointerdown', (event) => this.pointer(event));
    grid.element.addEventListener('focus', () => this.show());
  }

  // Back to the first row, or where a heading was, to the heading.
  reset() {
    this.at = {
      row: Math.min(this.at.row, 0),
      column: Math.min(this.at.column, Math.max(0, this.grid.columns.length - 1)),
    };
    this.anchor = { ...this.at };
  }

  // Rows and columns of the selection.
  range() {
    const [top, bottom] = [this.at.row, this.anchor.row].sort((a, b) => a - b);
    const [left, right] = [this.at.column, this.anchor.column].sort((a, b) => a - b);
    return { top: Math.max(0, top), bottom: Math.max(0, bottom), left, right };
  }

  classOf(row, column) {
    const { top, bottom, left, right } = this.range();
    const within = row >= top && row <= bottom && column >= left && column <= right;
    const here = row === this.at.row && column === this.at.column;
    return (within && (top !== bottom || left !== right) ? 'selected ' : '') + (here ? 'active' : '');
  }

  show() {
    const { row, column } = this.at;
    this.grid.reveal(row, column);
    this.grid.reselect();
    for (const cell of this.grid.head.querySelectorAll('.active')) cell.classList.remove('active');
    if (row < 0) this.grid.head.querySelector(`#h${column}`)?.classList.add('active');
    this.grid.element.setAttribute('aria-activedescendant', row < 0 ? `h${column}` : `c${row}-${column}`);
  }

  moveTo(row, column, extend) {
    const { grid } = this;
    this.at = {
      row: Math.max(extend ? 0 : -1, Math.min(row, grid.total - 1)),
      column: Math.max(0, Math.min(column, grid.columns.length - 1)),
    };
    if (!extend) this.anchor = { ...this.at };
    this.show();
  }

  pointer(event) {
    const cell = event.target.closest('.cell[data-row]');
    if (!cell || event.button !== 0 || cell.dataset.row === '-1') return;
    const to = (target, extend) => this.moveTo(Number(target.dataset.row), Number(target.dataset.column), extend);
    to(cell, event.shiftKey);
    const move = (now) => {
      const under = document.elementFromPoint(now.clientX, now.clientY)?.closest('.rows .cell[data-row]');
      if (under) to(under, true);
    };
    if (event.pointerType !== 'mouse') return; // a finger scrolls
    document.addEventListener('pointermove', move);
    document.addEventListener('pointerup', () => document.removeEventListener('pointermove', move), { once: true });
  }

  key(event) {
    if (event.target !== this.grid.element) return;
    const { row, column } = this.at;
    const page = this.grid.rowsInSight();
    const end = this.grid.total - 1;
    const far = event.ctrlKey || event.metaKey;
    const to = {
      ArrowUp: [far ? 0 : row - 1, column],
      ArrowDown: [far ? end : row + 1, column],
      ArrowLeft: [row, far ? 0 : column - 1],
      ArrowRight: [row, far ? Infinity : column + 1],
      PageUp: [Math.max(0, row - page), column],
      PageDown: [row + page, column],
      Home: [far ? 0 : row, 0],
      End: [far ? end : row, Infinity],
    }[event.key];
    const here = this.grid.columns[column];
    if (to && !event.altKey) this.moveTo(...to, event.shiftKey);
    else if (event.key === 'Enter' && row < 0) this.sort(here, event.shiftKey);
    else if (
      event.key === 'ContextMenu' ||
      (event.key === 'F10' && event.shiftKey) ||
      (event.key === 'ArrowDown' && event.altKey)
    )
      this.menu(here, this.grid.head.querySelector(`#h${column}`));
    else if (far && event.key.toLowerCase() === 'c') this.copy(false);
    else if (far && event.key.toLowerCase() === 'a') this.selectAll();
    else return;
    event.preventDefault();
  }

  selectAll() {
    this.anchor = { row: 0, column: 0 };
    this.at = { row: Math.max(0, this.grid.total - 1), column: this.grid.columns.length - 1 };
    this.grid.reselect();
  }

  // Copies the selection, parted by tabs, as the database gave it.
  async copy(withHeadings) {
    const { top, bottom, left, right } = this.range();
    const columns = this.grid.columns.slice(left, right + 1);
    if (bottom - top + 1 > kMostRows) return say(t('copyTooMany', { n: kMostRows }));
    const rows = await this.grid.source.slice(top, bottom + 1);
    const lines = rows.map((row) => columns.map(({ index }) => plain(row[index])).join('\t'));
    if (withHeadings) lines.unshift(columns.map(label).join('\t'));
    await navigator.clipboard.writeText(lines.join('\n'));
    return say(t('copied', { rows: rows.length, columns: columns.length }));
  }
}

// A value that breaks neither lines nor columns of what is pasted.
const plain = (value) => (value ?? '').replace(/[\t\r\n]+/g, ' ');
