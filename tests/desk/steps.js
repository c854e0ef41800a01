// Steps that several cases of the page take.
'use strict';
const assert = require('assert');
const fs = require('fs');

const same = (got, wanted, what) => assert.strictEqual(got, wanted, `${what}: ${got} instead of ${wanted}`);
const rowsOf = (csv) => parseCsv(csv).slice(1);

// Records of a csv text.
function parseCsv(text) {
  const records = [[]];
  for (const [, quoted, plain, end] of text
    .replace(/^\ufeff/, '')
    .matchAll(/(?:"((?:[^"]|"")*)"|([^",\r\n]*))(,|\r?\n|$)/g)) {
    records[records.length - 1].push(quoted === undefined ? plain : quoted.replace(/""/g, '"'));
    if (end !== ',') records.push([]);
    if (end === '') break;
  }
  return records.filter((record) => record.some((value) => value !== ''));
}

async function open(page, name) {
  await page.locator(`.entry:has(span:text-is("${name}"))`).click();
  await page.locator('#title', {hasText: name}).waitFor();
}

// Runs the open report and waits for its rows; gives how many there are.
async function run(page) {
  await page.locator('#run').click();
  await page.locator('#done').waitFor();
  return count(page);
}

async function count(page) {
  await page.locator('.grid[aria-busy=false]').waitFor({state: 'attached'});
  const text = await page.locator('#count').innerText();
  return text.includes('没有') || text.startsWith('No ') ? 0 : Number(/[\d,]+/.exec(text)[0].replace(/,/g, ''));
}

// The texts of a column of the table, as far as it is in sight; of the first one, where no name is given.
async function columnTexts(page, name) {
  await page.locator('.rows .cell').first().waitFor();
  return page.evaluate((wanted) => {
    const heads = [...document.querySelectorAll('.head .cell')];
    const place = wanted ? heads.findIndex((head) => head.querySelector('.text').textContent === wanted) : 0;
    return [...document.querySelectorAll('.rows .row:not(.waiting)')]
      .sort((a, b) => a.getAttribute('aria-rowindex') - b.getAttribute('aria-rowindex'))
      .map((row) => row.querySelector(`[data-column="${place}"]`).textContent);
  }, name);
}

async function download(page, click) {
  const [file] = await Promise.all([page.waitForEvent('download'), click()]);
  return fs.readFileSync(await file.path());
}

// No serious finding of axe-core on the page as it is.
async function accessible(page, axe, where) {
  await page.evaluate(axe);
  const {violations} = await page.evaluate(() => window.axe.run(document, {resultTypes: ['violations']}));
  const serious = violations
    .filter(({impact}) => impact === 'serious' || impact === 'critical')
    .map(
      ({id, nodes}) =>
        `${id}: ${nodes
          .slice(0, 3)
          .map(({html}) => html.slice(0, 160))
          .join('\n    ')}`,
    );
  assert.deepStrictEqual(serious, [], where);
}

module.exports = {accessible, columnTexts, count, download, open, rowsOf, run, same};
