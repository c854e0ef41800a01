// The table of a result: rows in sight, order, filters, columns, totals.
import { h, say } from './dom.js';
import { state, on, emit } from './state.js';
import { api } from './api.js';
import { label, t } from './i18n.js';
import { formatCell, formatCount } from './format.js';
import { Columns } from './columns.js';
import { Cursor } from './cursor.js';
import { Grid } from './grid.js';
import { RowSource } from './rows.js';
import { openColumnMenu } from './column_menu.js';
import { openPanel } from './dialog.js';

const kSigns = { '=': '=', contains: '∋', '>=': '≥', '<=': '≤' };

export class Table {
  // Fills `host`; `failed` is called with an error of the service.
  constructor(host, failed) {
    this.failed = failed;
    this.bar = h('div', { class: 'bar' });
    const place = h('div', { class: 'place' });
    host.replaceChildren(this.bar, place);
    this.grid = new Grid(place, {
      sort: (column, add) => this.sort(column, add),
      menu: (column, anchor) => this.menu(column, anchor),
      moveColumn: (column, target) => this.change(() => this.columns.move(column, target)),
      resize: (column, width, last) => this.resize(column, width, last),
    });
    this.cursor = new Cursor(this.grid, {
      sort: (...args) => this.sort(...args),
      menu: (...args) => this.menu(...args),
    });
    this.grid.element.addEventListener('dblclick', (event) => this.filterBy(event.target.closest('.rows .cell')));
    on('run', () => this.open());
    on('view', () => this.load());
    on('language', () => this.source && this.fitAndShow());
  }

  // Takes the page's new result.
  open() {
    this.source?.close();
    this.source = null;
    this.grid.source = null;
    const { run } = state;
    if (!run?.columns?.length || run.state !== 'done') return;
    this.columns = new Columns(run.request.class + (run.base ? '±' : ''), run.columns, state.view.hidden);
    this.grid.mark = (value, column) => differenceMark(run, value, column);
    this.load();
  }

  // Reads the rows anew, after order or filters have changed.
  load() {
    if (!state.run?.columns?.length || !this.columns) return;
    this.source?.close();
    let first = true;
    this.grid.element.setAttribute('aria-busy', 'true');
    const source = new RowSource(
      state.run.id,
      state.view,
      () => {
        if (first) this.fitAndShow();
        else this.grid.draw();
        first = false;
      },
      (error) => this.failed(error),
    );
    this.source = source;
    this.totals = null;
    this.cursor.reset();
    source.want(0, 0);
    api.totals(state.run.id, state.view).then(
      ({ totals }) => {
        if (this.source !== source) return;
        this.totals = totals;
        if (source.total !== null) this.fitAndShow();
      },
      (error) => this.failed(error),
    );
  }

  fitAndShow() {
    const rows = [];
    for (let index = 0; index < 200 && this.source.row(index); ++index) rows.push(this.source.row(index));
    const { element } = this.grid;
    this.columns.fit(rows, this.totals, getComputedStyle(element).font, element.clientWidth || Infinity);
    this.show();
    element.setAttribute('aria-busy', 'false');
  }

  show() {
    if (!this.source || this.source.total === null) return;
    const columns = this.columns.shown().map((column) => ({
      ...column,
      width: this.columns.width(column),
      frozen: this.columns.isFrozen(column),
    }));
    const filtered = new Set(state.view.where.map(({ column }) => column));
    this.grid.show({
      source: this.source,
      columns,
      totals: this.totals,
      sort: state.view.sort,
      filtered,
      name: t('table'),
    });
    this.drawBar();
  }

  change(action) {
    action();
    state.view.hidden = this.columns.hiddenNames();
    this.show();
    emit('columns');
  }

  resize(column, width, last) {
    this.columns.setWidth(column, width);
    if (last) this.change(() => {});
    else this.show();
  }

  sort(column, add) {
    const { sort } = state.view;
    const now = sort.find((item) => item.column === column.name);
    const next = !now
      ? { column: column.name, descending: false }
      : now.descending
        ? null
        : { column: column.name, descending: true };
    this.sortBy(column, next, add);
  }

  sortBy(column, next, add) {
    const others = state.view.sort.filter((item) => item.column !== column.name);
    state.view.sort = [...(add ? others : []), ...(next ? [next] : [])];
    say(`${label(column)}: ${t(!next ? 'sortNone' : next.descending ? 'sortDown' : 'sortUp')}`);
    emit('view');
  }

  filter(column, conditions) {
    state.view.where = [...state.view.where.filter((one) => one.column !== column.name), ...conditions];
    emit('view');
  }

  // Keeps the rows that have what this cell has.
  filterBy(cell) {
    const column = cell && this.grid.columns[cell.dataset.column];
    const row = cell && this.source.row(Number(cell.dataset.row));
    if (!row) return;
    const value = row[column.index];
    this.filter(column, [
      value === null || value === '' ? { column: column.name, op: 'empty' } : { column: column.name, op: '=', value },
    ]);
  }

  menu(column, anchor) {
    const own = this.columns.all.find(({ name }) => name === column.name);
    const neighbour = (step) => {
      const shown = this.columns.shown();
      return shown[shown.indexOf(own) + step];
    };
    openColumnMenu(column, anchor, this.grid.element, {
      sort: (descending) =>
        this.sortBy(column, descending === null ? null : { column: column.name, descending }, false),
      hide: () => this.change(() => this.columns.setHidden([column.name], true)),
      freeze: (frozen) => this.change(() => this.columns.setFrozen(column, frozen)),
      move: (step) => neighbour(step) && this.change(() => this.columns.move(own, neighbour(step))),
      widen: (by) => this.change(() => this.columns.setWidth(column, column.width + by)),
      filter: (conditions) => this.filter(column, conditions),
      copy: () => this.cursor.copy(true),
    });
  }

  drawBar() {
    const { run, view } = state;
    const total = this.source.total;
    const count =
      total === run.rows
        ? t('rows', { n: formatCount(total) })
        : t('rowsOf', { n: formatCount(total), of: formatCount(run.rows) });
    const hidden = this.columns.hiddenNames().length;
    const hadFocus = this.bar.contains(document.activeElement);
    const columns = h(
      'button',
      { type: 'button', id: 'columns', 'aria-haspopup': 'dialog', click: () => this.chooseColumns(columns) },
      hidden ? t('columnsHidden', { n: hidden }) : t('columns'),
    );
    this.bar.replaceChildren(
      h('span', { class: 'count', id: 'count' }, total || run.base ? count : t('noRows')),
      columns,
      ...view.where.map((one) => this.chip(one)),
      view.where.length > 1
        ? h(
            'button',
            {
              type: 'button',
              class: 'quiet',
              click: () => {
                view.where = [];
                emit('view');
              },
            },
            t('clearFilters'),
          )
        : '',
    );
    if (hadFocus) this.grid.element.focus();
  }

  chip(one) {
    const column = this.columns.all.find(({ name }) => name === one.column) ?? { name: one.column };
    const text =
      one.op in kSigns
        ? ` ${kSigns[one.op]} ${formatCell(one.value, column)}`
        : ' ' + t(one.op === 'empty' ? 'isEmpty' : 'isFilled');
    return h(
      'button',
      {
        type: 'button',
        class: 'chip',
        'aria-label': t('removeFilter', { name: label(column) + text }),
        click: () => {
          state.view.where = state.view.where.filter((other) => other !== one);
          emit('view');
        },
      },
      label(column) + text,
      h('span', { 'aria-hidden': 'true' }, ' ×'),
    );
  }

  chooseColumns(anchor) {
    const set = (names, hidden) => this.change(() => this.columns.setHidden(names, hidden));
    const all = this.columns.all;
    const empty = all.filter((column) => column.empty);
    const boxes = all.map((column) =>
      h(
        'label',
        {},
        h('input', {
          type: 'checkbox',
          checked: !this.columns.isHidden(column),
          value: column.name,
          change: (event) => set([column.name], !event.target.checked),
        }),
        label(column),
        column.empty ? h('span', { class: 'faint' }, ` ${t('emptyColumn')}`) : null,
      ),
    );
    const each = (test) => {
      for (const label of boxes) label.firstChild.checked = test(label.firstChild.value);
    };
    openPanel(
      anchor,
      t('columns'),
      [
        empty.length ? h('p', { class: 'faint' }, t('emptyColumns', { n: empty.length })) : null,
        h(
          'div',
          { class: 'items' },
          h(
            'button',
            {
              type: 'button',
              click: () => {
                set(
                  all.map(({ name }) => name),
                  false,
                );
                each(() => true);
              },
            },
            t('showAll'),
          ),
          h(
            'button',
            {
              type: 'button',
              click: () => {
                set(
                  empty.map(({ name }) => name),
                  true,
                );
                each((name) => !empty.some((one) => one.name === name));
              },
            },
            t('hideEmpty'),
          ),
          h(
            'button',
            {
              type: 'button',
              click: () => {
                this.change(() => this.columns.reset());
                each((name) => !empty.some((one) => one.name === name));
              },
            },
            t('resetColumns'),
          ),
        ),
        h('div', { class: 'boxes' }, boxes),
      ].filter(Boolean),
    );
  }
}

// How the cells of a comparison stand out.
function differenceMark(run, value, column) {
  if (!run.base) return '';
  if (column.name === '±') return 'sign';
  return typeof value === 'string' && value.includes(' → ') ? 'changed' : '';
}
