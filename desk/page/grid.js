// The table: only what is in sight is in the page. Rows have one height. Browsers end elements at some tens of
// millions of pixels, so beyond kTallest the scroll bar stands for more rows than it has pixels, while the wheel
// and the keys still move by single rows.
import { h } from './dom.js';
import { formatCell } from './format.js';
import { label, t } from './i18n.js';

export const kRowHeight = 26;
const kTallest = 8e6;
const kSpare = 8; // rows drawn beyond the edges

export class Grid {
  // Fills `host`. `actions`: sort(column, add), menu(column, anchor), moveColumn(column, target),
  // resize(column, width), drawn(first, last) after each drawing.
  constructor(host, actions) {
    this.actions = actions;
    this.head = h('div', { class: 'head', role: 'rowgroup' });
    this.body = h('div', { class: 'rows', role: 'rowgroup' });
    this.space = h('div', { class: 'space', role: 'none' }, this.body);
    this.foot = h('div', { class: 'foot', role: 'rowgroup' });
    this.canvas = h('div', { class: 'canvas', role: 'none' }, this.head, this.space, this.foot);
    this.element = h('div', { class: 'grid', role: 'grid', tabindex: '0', scroll: () => this.scrolled() }, this.canvas);
    host.replaceChildren(this.element);
    this.offset = this.lastTop = 0; // pixels above what is in sight, without the limit on height
    this.pool = new Map(); // row element by its place
    this.version = 0;
    this.columns = [];
    this.mark = () => ''; // more classes of a cell, by its value and column
    this.select = () => ''; // those that come and go with the selection, by row and place
    this.observer = new ResizeObserver(() => this.draw());
    this.observer.observe(this.element);
  }

  // Shows `source` (RowSource) with `columns` (shown ones, each with `width` and `frozen`), the totals by name,
  // and the sort order. Scrolling starts again at the top where `source` is another one.
  show({ source, columns, totals, sort, filtered, name }) {
    if (this.source !== source) {
      this.offset = this.lastTop = this.element.scrollTop = 0;
      this.source = source;
    }
    this.element.setAttribute('aria-label', name);
    this.columns = columns;
    this.totals = totals;
    this.layOut();
    this.drawHead(sort, filtered);
    this.drawFoot();
    this.refresh();
  }

  get total() {
    return this.source?.total ?? 0;
  }

  // Shows another selection.
  reselect() {
    for (const cell of this.body.querySelectorAll('.cell')) {
      cell.className = cell.usual + this.select(Number(cell.dataset.row), Number(cell.dataset.column));
    }
  }

  // Draws everything anew, after rows have come.
  refresh() {
    ++this.version;
    this.resize();
    this.draw();
  }

  // Scrolls until that row and column are in sight; either may be null.
  reveal(row, columnIndex) {
    if (row !== null && row >= 0) {
      const top = row * kRowHeight;
      const height = this.height();
      if (top < this.offset) this.jump(top);
      else if (top + kRowHeight > this.offset + height) this.jump(top + kRowHeight - height);
    }
    const column = this.columns[columnIndex];
    if (!column || column.frozen) return;
    const room = this.element.clientWidth - this.frozenWidth;
    const left = column.left - this.frozenWidth;
    const { scrollLeft } = this.element;
    if (left < scrollLeft) this.element.scrollLeft = left;
    else if (left + column.width > scrollLeft + room) this.element.scrollLeft = left + column.width - room;
    this.draw();
  }

  // Rows that fit.
  rowsInSight() {
    return Math.max(1, Math.floor(this.height() / kRowHeight));
  }

  // Puts each column at its place. Frozen ones that would fill a small screen scroll with the rest.
  layOut() {
    const frozen = this.columns.filter((column) => column.frozen).reduce((sum, { width }) => sum + width, 0);
    const small = frozen > this.element.clientWidth * 0.6 && this.element.clientWidth > 0;
    this.frozenWidth = small ? 0 : frozen;
    let left = 0;
    this.columns.forEach((column, place) => {
      if (small) column.frozen = false;
      Object.assign(column, { place, left, style: `width: ${column.width}px; left: ${left}px` });
      left += column.width;
    });
    this.canvas.style.width = `${left}px`;
    this.element.setAttribute('aria-colcount', this.columns.length);
  }

  height() {
    return Math.max(0, this.element.clientHeight - this.head.offsetHeight - this.foot.offsetHeight);
  }

  resize() {
    const real = this.total * kRowHeight;
    this.real = real;
    this.drawn = Math.min(real, kTallest);
    this.space.style.height = `${Math.max(this.drawn, this.height())}px`;
    this.element.setAttribute('aria-rowcount', this.total + 2);
  }

  // How many pixels of rows one pixel of the scroll bar stands for.
  ratio() {
    const height = this.height();
    return this.drawn < this.real ? (this.real - height) / (this.drawn - height) : 1;
  }

  jump(offset) {
    this.offset = Math.max(0, Math.min(offset, this.real - this.height()));
    this.lastTop = this.element.scrollTop = Math.round(this.offset / this.ratio());
    this.draw();
  }

  scrolled() {
    const top = this.element.scrollTop;
    const ratio = this.ratio();
    const height = this.height();
    const end = this.drawn - height;
    const step = top - this.lastTop;
    if (ratio === 1) this.offset = top;
    else if (top <= 0 || top >= end - 1 || Math.abs(step) > 2 * height) this.offset = top * ratio;
    else this.offset += step;
    this.offset = Math.max(0, Math.min(this.offset, this.real - height));
    this.lastTop = top;
    this.draw();
    if (ratio === 1) return;
    clearTimeout(this.settling);
    this.settling = setTimeout(() => {
      this.lastTop = this.element.scrollTop = Math.round(this.offset / ratio);
      this.draw();
    }, 250);
  }

  draw() {
    if (!this.source) return;
    const first = Math.max(0, Math.floor(this.offset / kRowHeight) - kSpare);
    const last = Math.min(this.total, Math.ceil((this.offset + this.height()) / kRowHeight) + kSpare);
    this.source.want(first, Math.max(first, last - 1));
    this.chooseColumns();
    const kept = new Map();
    const base = this.element.scrollTop - this.offset;
    for (let index = first; index < last; ++index) {
      const row = this.pool.get(index) ?? h('div', { class: 'row', role: 'row' });
      this.pool.delete(index);
      kept.set(index, row);
      if (row.version !== this.version || row.waiting) this.fill(row, index);
      row.style.transform = `translateY(${index * kRowHeight + base}px)`;
      if (!row.isConnected) this.body.append(row);
    }
    for (const row of this.pool.values()) row.remove();
    this.pool = kept;
    this.actions.drawn?.(first, last);
  }

  // Which columns are in sight; a change has every row filled anew.
  chooseColumns() {
    const left = this.element.scrollLeft + this.frozenWidth;
    const right = this.element.scrollLeft + this.element.clientWidth;
    const seen = this.columns.filter(
      (column) => column.frozen || (column.left + column.width > left - 200 && column.left < right + 200),
    );
    const key = seen.map(({ name }) => name).join('\n');
    if (key !== this.seenKey) ++this.version;
    [this.seen, this.seenKey] = [seen, key];
  }

  fill(row, index) {
    const cells = this.source.row(index);
    row.waiting = !cells;
    row.version = this.version;
    row.setAttribute('aria-rowindex', index + 2);
    row.className = `row${index % 2 ? ' odd' : ''}${cells ? '' : ' waiting'}`;
    // While it waits one cell stands for all: most rows that scroll by are never seen whole.
    row.replaceChildren(
      ...(cells
        ? this.seen.map((column) => this.valueCell(column, index, cells[column.index]))
        : [h('div', { class: 'blank', role: 'gridcell' })]),
    );
  }

  // Thousands of these are made while somebody scrolls, so they are made without detours.
  valueCell(column, index, value) {
    const cell = document.createElement('div');
    const negative = column.kind === 'number' && String(value).startsWith('-');
    cell.usual = `cell ${column.kind}${column.frozen ? ' frozen' : ''}${negative ? ' negative' : ''} ${this.mark(value, column)} `;
    cell.className = cell.usual + this.select(index, column.place);
    cell.id = `c${index}-${column.place}`;
    cell.setAttribute('role', 'gridcell');
    cell.setAttribute('aria-colindex', column.place + 1);
    cell.setAttribute('data-row', index);
    cell.setAttribute('data-column', column.place);
    cell.style.cssText = column.style;
    cell.textContent = formatCell(value, column);
    return cell;
  }

  cell(column, role, text, ...children) {
    const cell = h('div', { class: `cell ${column.kind}`, role, 'aria-colindex': column.place + 1 }, text, children);
    if (column.frozen) cell.classList.add('frozen');
    cell.style.cssText = column.style;
    return cell;
  }

  drawHead(sort, filtered) {
    this.head.replaceChildren(
      h(
        'div',
        { class: 'row', role: 'row', 'aria-rowindex': 1 },
        this.columns.map((column, place) => this.heading(column, place, sort, filtered)),
      ),
    );
  }

  heading(column, place, sort, filtered) {
    const at = sort.findIndex((item) => item.column === column.name);
    const descending = at >= 0 && sort[at].descending;
    const order = at < 0 ? 'none' : descending ? 'descending' : 'ascending';
    const arrow = at < 0 ? '' : (descending ? '▼' : '▲') + (sort.length > 1 ? at + 1 : '');
    const menu = h(
      'button',
      {
        type: 'button',
        class: 'menu',
        tabindex: '-1',
        'aria-label': t('columnMenu', { name: label(column) }),
        click: (event) => {
          event.stopPropagation();
          this.actions.menu(column, menu);
        },
      },
      '⋮',
    );
    const cell = this.cell(
      column,
      'columnheader',
      h('span', { class: 'text' }, label(column)),
      h('span', { class: 'arrow', 'aria-hidden': 'true' }, arrow),
      menu,
      this.handle(column),
    );
    cell.id = `h${place}`;
    cell.title = label(column) === column.name ? column.name : `${label(column)} (${column.name})`;
    cell.setAttribute('aria-sort', order);
    cell.dataset.row = -1;
    cell.dataset.column = place;
    cell.draggable = true;
    if (filtered.has(column.name)) cell.classList.add('filtered');
    cell.addEventListener('click', (event) => this.actions.sort(column, event.shiftKey));
    cell.addEventListener('contextmenu', (event) => {
      event.preventDefault();
      this.actions.menu(column, menu);
    });
    cell.addEventListener('dragstart', (event) => {
      this.dragged = column;
      event.dataTransfer.setData('text/plain', label(column));
    });
    cell.addEventListener('dragover', (event) => this.dragged && event.preventDefault());
    cell.addEventListener('drop', (event) => {
      event.preventDefault();
      if (this.dragged && this.dragged !== column) this.actions.moveColumn(this.dragged, column);
      this.dragged = null;
    });
    return cell;
  }

  // The edge by which a column is made wider or narrower.
  handle(column) {
    const handle = h('span', { class: 'handle', 'aria-hidden': 'true', click: (event) => event.stopPropagation() });
    handle.addEventListener('pointerdown', (event) => {
      event.preventDefault();
      event.stopPropagation();
      handle.setPointerCapture(event.pointerId);
      const start = event.clientX - column.width;
      const move = (now) => this.actions.resize(column, now.clientX - start, false);
      handle.addEventListener('pointermove', move);
      handle.addEventListener(
        'pointerup',
        (now) => {
          handle.removeEventListener('pointermove', move);
          this.actions.resize(column, now.clientX - start, true);
        },
        { once: true },
      );
    });
    return handle;
  }

  drawFoot() {
    if (!this.totals || !Object.keys(this.totals).length) return this.foot.replaceChildren();
    const named = this.columns.findIndex((column) => !(column.name in this.totals));
    return this.foot.replaceChildren(
      h(
        'div',
        { class: 'row', role: 'row', 'aria-rowindex': this.total + 2 },
        this.columns.map((column, place) => {
          const total = this.totals[column.name];
          return this.cell(
            column,
            'gridcell',
            place === named ? t('total') : total === undefined ? '' : formatCell(total, column),
          );
        }),
      ),
    );
  }
}
