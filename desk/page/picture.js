// A picture of the result, drawn from its own rows by Chart.js, with the figures as a table beside it.
import { h, byId, save } from './dom.js';
import { state, on } from './state.js';
import { api } from './api.js';
import { label, t } from './i18n.js';
import { formatCell, formatNumber, fileName } from './format.js';
import { svgOf } from './svg.js';

const kKinds = ['bar', 'line', 'pie', 'scatter'];
const kMostDays = 62;
const kMostMonths = 240;
// Told apart also by those who see few colours; the page's own for light and dark.
const kColours = {
  light: ['#2563a8', '#d9822b', '#3d8b6e', '#a3488a', '#7a6a4f', '#5b7fb8', '#b5533c', '#6b7785'],
  dark: ['#6ea8e8', '#e9a35c', '#6cc0a0', '#d68cc3', '#b9a98c', '#9bb5e0', '#e08a72', '#a3afbd'],
};

const isDark = () =>
  getComputedStyle(document.documentElement).colorScheme === 'dark' ||
  (getComputedStyle(document.documentElement).colorScheme !== 'light' &&
    matchMedia('(prefers-color-scheme: dark)').matches);

export class Picture {
  // Fills `host` once `shown` says that it is looked at; `failed` is called with an error.
  constructor(host, shown, failed) {
    Object.assign(this, { host, shown, failed });
    on('run', () => {
      this.choice = null;
      this.draw();
    });
    for (const event of ['view', 'language', 'theme', 'picture']) on(event, () => this.draw());
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.draw());
  }

  // What there is to draw: the report's own choice, where its columns are there.
  defaults() {
    const { columns } = state.run;
    const own = state.report.picture;
    const has = (name) => columns.some((column) => column.name === name);
    const figures = columns.filter(({ kind, empty }) => kind === 'number' && !empty);
    if (!figures.length) return null;
    const values = (own?.values ?? []).filter(has);
    const category =
      own && has(own.category) ? own.category : columns.find(({ kind, empty }) => kind !== 'number' && !empty)?.name;
    if (!category) return null;
    const isOwn = own && values.length === own.values.length && (own.kind !== 'scatter' || values.length > 1);
    const kind = isOwn ? own.kind : 'bar';
    return {
      kind,
      category,
      values: values.length ? values : [figures[figures.length - 1].name],
      limit: own?.limit ?? 20,
    };
  }

  async draw() {
    const { run } = state;
    if (!this.shown() || !run || run.state !== 'done') return;
    this.choice ??= this.defaults();
    if (!this.choice) return this.host.replaceChildren(h('p', { class: 'faint' }, t('noPicture')));
    const drawing = (this.drawing = {});
    try {
      const [figures] = await Promise.all([this.read(), import('/page/chart.js')]);
      if (drawing === this.drawing) this.show(figures);
    } catch (error) {
      this.failed(error);
    }
  }

  column(name) {
    return state.run.columns.find((column) => column.name === name);
  }

  // The figures: dates by day or, where there are many, by month; everything else by its value.
  async read() {
    const { kind, category, values, limit } = this.choice;
    const isDate = this.column(category).kind === 'date';
    const ask = (most, by) => api.groups(state.run.id, category, values, most, by, state.view);
    let { rows, others } = await ask(isDate ? kMostDays : limit);
    const byMonth = isDate && others > 0;
    if (byMonth) ({ rows, others } = await ask(kMostMonths, 'month'));
    const names = values.map((name) => label(this.column(name)));
    const of = label(this.column(category)) + (byMonth ? `, ${t('month')}` : '');
    return {
      kind,
      names,
      of,
      rows,
      others,
      labels: rows.map((row) => row[0] ?? t('isEmpty')),
      series: values.map((_, i) => rows.map((row) => Number(row[i + 1] ?? 0))),
      title: `${state.run.title || label(state.report.title)}: ${names.join(', ')}`,
    };
  }

  show(figures) {
    const text = t('pictureOf', { values: figures.names.join(', '), category: figures.of, n: figures.rows.length });
    const canvas = h('canvas', { role: 'img', 'aria-label': text, id: 'chart' });
    this.chart?.destroy();
    this.figures = figures;
    this.host.replaceChildren(
      this.controls(),
      h(
        'figure',
        {},
        h('div', { class: 'canvas-place' }, canvas),
        h('figcaption', { class: 'faint' }, text, figures.others ? ' ' + t('others', { n: figures.others }) : ''),
      ),
      this.figuresTable(figures),
    );
    this.chart = new globalThis.Chart(canvas, chartOf(figures));
  }

  controls() {
    const columns = state.run.columns.filter(({ empty }) => !empty);
    const figures = columns.filter(({ kind }) => kind === 'number');
    const select = (name, value, options, change) => {
      const id = `picture-${name}`;
      const element = h(
        'select',
        {
          id,
          change: () => {
            change(element.value);
            this.draw().then(() => byId(id)?.focus());
          },
        },
        options.map(([key, text]) => h('option', { value: key }, text)),
      );
      element.value = value;
      return h('label', {}, t(name), element);
    };
    const names = (list) => list.map((column) => [column.name, label(column)]);
    const { choice } = this;
    const setValue = (index) => (name) => {
      const values = [...choice.values];
      if (name) values[index] = name;
      else values.length = 1;
      choice.values = values;
      if (choice.kind === 'scatter' && values.length < 2) choice.kind = 'bar';
    };
    return h(
      'div',
      { class: 'bar' },
      select(
        'kind',
        choice.kind,
        kKinds.map((kind) => [kind, t(kind)]),
        (kind) => {
          choice.kind = kind;
          if (kind === 'scatter' && choice.values.length < 2)
            choice.values.push((figures.find(({ name }) => name !== choice.values[0]) ?? figures[0]).name);
        },
      ),
      select('category', choice.category, names(columns), (name) => {
        choice.category = name;
      }),
      select('value', choice.values[0], names(figures), setValue(0)),
      select('value2', choice.values[1] ?? '', [['', t('none')], ...names(figures)], setValue(1)),
      // Dates are all drawn.
      this.column(choice.category).kind === 'date'
        ? null
        : select(
            'howMany',
            String(choice.limit),
            [...new Set([10, 20, 50, 100, choice.limit])].sort((a, b) => a - b).map((n) => [String(n), String(n)]),
            (n) => {
              choice.limit = Number(n);
            },
          ),
      h('span', { class: 'gap' }),
      h('button', { type: 'button', click: () => this.savePng() }, t('savePng')),
      h('button', { type: 'button', click: () => this.saveSvg() }, t('saveSvg')),
    );
  }

  figuresTable({ of, names, rows }) {
    const columns = this.choice.values.map((name) => this.column(name));
    return h(
      'details',
      { class: 'figures' },
      h('summary', {}, t('asTable')),
      h(
        'div',
        { class: 'scrolls', tabindex: '0', role: 'region', 'aria-label': t('asTable') },
        h(
          'table',
          {},
          h(
            'thead',
            {},
            h(
              'tr',
              {},
              h('th', { scope: 'col' }, of),
              names.map((name) => h('th', { scope: 'col', class: 'number' }, name)),
            ),
          ),
          h(
            'tbody',
            {},
            rows.map(([key, ...values]) =>
              h(
                'tr',
                {},
                h('th', { scope: 'row' }, key ?? t('isEmpty')),
                values.map((value, i) => h('td', { class: 'number' }, formatCell(value ?? '0', columns[i]))),
              ),
            ),
          ),
        ),
      ),
    );
  }

  name = (ending) => `${fileName(state.run.title || label(state.report.title))}.${ending}`;

  savePng() {
    const { canvas } = this.chart;
    const page = document.createElement('canvas');
    [page.width, page.height] = [canvas.width, canvas.height];
    const pen = page.getContext('2d');
    pen.fillStyle = getComputedStyle(document.body).backgroundColor;
    pen.fillRect(0, 0, page.width, page.height);
    pen.drawImage(canvas, 0, 0);
    page.toBlob((blob) => save(blob, this.name('png')));
  }

  saveSvg() {
    save(new Blob([svgOf(this.figures, kColours.light)], { type: 'image/svg+xml' }), this.name('svg'));
  }
}

// What Chart.js is asked to draw.
function chartOf({ kind, names, labels, series }) {
  const style = getComputedStyle(document.documentElement);
  const ink = style.getPropertyValue(isDark() ? '--chart-ink-dark' : '--chart-ink').trim();
  const lines = style.getPropertyValue(isDark() ? '--chart-line-dark' : '--chart-line').trim();
  const colours = kColours[isDark() ? 'dark' : 'light'];
  const isPie = kind === 'pie';
  const isScatter = kind === 'scatter';
  const figures = (title) => ({
    ticks: { color: ink, callback: (value) => formatNumber(String(value)) },
    grid: { color: lines, borderColor: lines },
    title: { display: Boolean(title), text: title ?? '', color: ink },
  });
  const shorter = (text) => (text.length > 16 ? text.slice(0, 15) + '…' : text);
  const groups = { ticks: { color: ink, callback: (value) => shorter(labels[value]) }, grid: { display: false } };
  const datasets = isScatter
    ? [
        {
          data: labels.map((_, i) => ({ x: series[0][i], y: series[1][i] })),
          backgroundColor: colours[0],
          pointRadius: 4,
        },
      ]
    : (isPie ? series.slice(0, 1) : series).map((data, i) => ({
        label: names[i],
        data,
        borderColor: isPie ? lines : colours[i],
        backgroundColor: isPie ? colours : colours[i],
        borderWidth: kind === 'line' ? 2 : isPie ? 1 : 0,
        maxBarThickness: 42,
        tension: 0,
      }));
  return {
    type: kind,
    data: { labels, datasets },
    options: {
      animation: false,
      maintainAspectRatio: false,
      responsive: true,
      font: { family: style.getPropertyValue('--font') },
      scales: isPie
        ? {}
        : {
            x: isScatter ? figures(names[0]) : groups,
            y: isScatter ? figures(names[1]) : { ...figures(), beginAtZero: true },
          },
      plugins: {
        legend: {
          display: isPie || (!isScatter && series.length > 1),
          position: isPie ? 'right' : 'top',
          align: 'start',
          labels: { color: ink, boxWidth: 12 },
        },
        tooltip: {
          callbacks: isScatter
            ? {
                label: ({ dataIndex, parsed }) =>
                  `${labels[dataIndex]}: ${formatNumber(String(parsed.x))}, ${formatNumber(String(parsed.y))}`,
              }
            : {},
        },
      },
    },
  };
}
