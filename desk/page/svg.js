// A picture as SVG, drawn from the same figures as the one on the screen.

const kWidth = 960;
const kHeight = 480;
const kBox = { left: 90, right: 20, top: 60, bottom: 130 };
const kSpace = 'http://www.w3.org/2000/svg';

// The text of an SVG file. `figures`: {kind, title, names, labels, series (lists of numbers)}, `colours` one
// for each series, or for each slice of a pie.
export function svgOf({ kind, title, names, labels, series }, colours) {
  const root = node('svg', {
    xmlns: kSpace,
    viewBox: `0 0 ${kWidth} ${kHeight}`,
    width: kWidth,
    height: kHeight,
    'font-family': 'system-ui, "Noto Sans CJK SC", "Microsoft YaHei", sans-serif',
    'font-size': 12,
    fill: '#222',
  });
  root.append(
    node('title', {}, title),
    node('rect', { width: kWidth, height: kHeight, fill: '#fff' }),
    node('text', { x: kBox.left, y: 24, 'font-size': 15, 'font-weight': 600 }, title),
  );
  if (kind === 'pie') drawPie(root, labels, series[0], colours);
  else drawAxes(root, { kind, names, labels, series }, colours);
  return new XMLSerializer().serializeToString(root);
}

function node(name, attributes, text) {
  const element = document.createElementNS(kSpace, name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key !== 'xmlns') element.setAttribute(key, typeof value === 'number' ? Number(value.toFixed(2)) : value);
  }
  if (text !== undefined) element.textContent = text;
  return element;
}

// Round steps from the smallest to the largest value, zero among them.
function ticks(values) {
  const [low, high] = [Math.min(0, ...values), Math.max(0, ...values)];
  const rough = (high - low || 1) / 5;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].find((times) => times * power >= rough) * power;
  const result = [];
  for (let at = Math.floor(low / step) * step; at < high + step; at += step) result.push(at);
  return result;
}

const short = (text, length) => (text.length > length ? text.slice(0, length - 1) + '…' : text);

function drawAxes(root, { kind, names, labels, series }, colours) {
  const isScatter = kind === 'scatter';
  const marks = ticks((isScatter ? [series[1]] : series).flat());
  const [low, high] = [marks[0], marks[marks.length - 1]];
  const height = kHeight - kBox.top - kBox.bottom;
  const width = kWidth - kBox.left - kBox.right;
  const y = (value) => kBox.top + height - ((value - low) / (high - low)) * height;
  for (const mark of marks) {
    root.append(
      node('line', {
        x1: kBox.left,
        x2: kWidth - kBox.right,
        y1: y(mark),
        y2: y(mark),
        stroke: mark === 0 ? '#888' : '#ddd',
      }),
      node('text', { x: kBox.left - 8, y: y(mark) + 4, 'text-anchor': 'end' }, mark.toLocaleString('en')),
    );
  }
  if (isScatter) return drawPoints(root, { names, labels, series }, colours, y, width);
  const slot = width / Math.max(1, labels.length);
  labels.forEach((text, i) => {
    const [x, bottom] = [kBox.left + slot * (i + 0.5), kHeight - kBox.bottom + 14];
    root.append(
      node(
        'text',
        { x, y: bottom, 'text-anchor': 'end', transform: `rotate(-40 ${x.toFixed(1)} ${bottom})` },
        short(text, 14),
      ),
    );
  });
  series.forEach((values, s) => {
    root.append(
      node('rect', { x: kBox.left + s * 160, y: 36, width: 10, height: 10, fill: colours[s] }),
      node('text', { x: kBox.left + s * 160 + 15, y: 45 }, short(names[s], 16)),
    );
    const bar = (slot * 0.8) / series.length;
    if (kind === 'line') {
      const points = values
        .map((value, i) => `${(kBox.left + slot * (i + 0.5)).toFixed(1)},${y(value).toFixed(1)}`)
        .join(' ');
      root.append(node('polyline', { points, fill: 'none', stroke: colours[s], 'stroke-width': 2 }));
      return;
    }
    values.forEach((value, i) =>
      root.append(
        node('rect', {
          x: kBox.left + slot * (i + 0.1) + bar * s,
          width: Math.max(1, bar - 1),
          y: Math.min(y(value), y(0)),
          height: Math.abs(y(value) - y(0)),
          fill: colours[s],
        }),
      ),
    );
  });
}

function drawPoints(root, { names, labels, series }, colours, y, width) {
  const marks = ticks(series[0]);
  const [low, high] = [marks[0], marks[marks.length - 1]];
  const x = (value) => kBox.left + ((value - low) / (high - low)) * width;
  for (const mark of marks)
    root.append(
      node('text', { x: x(mark), y: kHeight - kBox.bottom + 18, 'text-anchor': 'middle' }, mark.toLocaleString('en')),
    );
  root.append(
    node('text', { x: kBox.left, y: 45 }, names[1]),
    node('text', { x: kWidth - kBox.right, y: kHeight - kBox.bottom + 38, 'text-anchor': 'end' }, names[0]),
  );
  labels.forEach((text, i) => {
    const dot = node('circle', {
      cx: x(series[0][i]),
      cy: y(series[1][i]),
      r: 4,
      fill: colours[0],
      'fill-opacity': 0.8,
    });
    dot.append(node('title', {}, `${text}: ${series[0][i]}, ${series[1][i]}`));
    root.append(dot);
  });
}

function drawPie(root, labels, values, colours) {
  const total = values.reduce((sum, value) => sum + Math.max(0, value), 0) || 1;
  const [cx, cy, r] = [260, 260, 180];
  const at = (turn) =>
    `${(cx + r * Math.sin(turn * 2 * Math.PI)).toFixed(2)},${(cy - r * Math.cos(turn * 2 * Math.PI)).toFixed(2)}`;
  let turn = 0;
  values.forEach((value, i) => {
    const part = Math.max(0, value) / total;
    const colour = colours[i % colours.length];
    if (part >= 0.9999) root.append(node('circle', { cx, cy, r, fill: colour }));
    else if (part > 0)
      root.append(
        node('path', {
          d: `M${cx},${cy} L${at(turn)} A${r},${r} 0 ${part > 0.5 ? 1 : 0} 1 ${at(turn + part)} Z`,
          fill: colour,
          stroke: '#fff',
        }),
      );
    turn += part;
    const row = 70 + i * 19;
    if (row > kHeight - 10) return;
    root.append(
      node('rect', { x: 500, y: row - 10, width: 11, height: 11, fill: colour }),
      node('text', { x: 518, y: row }, `${short(labels[i], 30)}  ${(part * 100).toFixed(1)} %`),
    );
  });
}
