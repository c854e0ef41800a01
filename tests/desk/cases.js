// What the desk's page must do, each in a page of its own.
'use strict';
const assert = require('assert');
const fs = require('fs');
const path = require('path');
const {accessible, columnTexts, count, download, open, rowsOf, run, same} = require('./steps.js');

// Chooses the first value of the first filter that has a pick list of items or customers; gives the filter's
// caption, or null where there is none.
async function pickSomething(page) {
  for (const caption of ['存货编码', '客户编码']) {
    const legend = page.locator('#filters fieldset', {has: page.locator(`legend:text-is("${caption}")`)});
    if (!(await legend.count())) continue;
    const [from, to] = [legend.locator('input').first(), legend.locator('input').last()];
    for (const input of [from, to]) {
      await input.click();
      await legend.locator('[role=option]').first().waitFor();
      await input.press('ArrowDown');
      await input.press('ArrowDown');
      await input.press('Enter');
    }
    same(await from.inputValue(), await to.inputValue(), 'the pick list');
    assert.ok(await from.inputValue(), 'a value was picked');
    return caption;
  }
  return null;
}

// Runs the command line that the page shows for a request: its rows.
async function rowsByCommand(page, {ledgerwick}) {
  const command = await page.locator('.details pre.wraps', {hasText: 'ledgerwick run'}).innerText();
  const words = [...command.matchAll(/'((?:[^']|'\\'')*)'|(\S+)/g)].map(
    ([, quoted, plain]) => plain ?? quoted.replace(/'\\''/g, "'"),
  );
  return rowsOf(ledgerwick(...words.slice(1), '--format', 'csv'));
}

async function oneReport(test, title) {
  const {page} = test;
  await open(page, title);
  const all = await run(page);
  assert.ok(all > 0, `${title} has rows`);
  await page.locator('.filters > summary').click();
  const filtered = await pickSomething(page);
  const total = await run(page);
  if (filtered) assert.ok(total < all, `${title}: ${total} of ${all} rows with a filter`);
  same((await rowsByCommand(page, test)).length, total, `${title}: rows of the command`);
  const heading = page.locator('.head .cell').first();
  await heading.click();
  await heading.click();
  await page.locator('.head .cell[aria-sort=descending]').waitFor();
  const texts = await columnTexts(page);
  const csv = rowsOf((await download(page, () => page.locator('.details a:text-is("csv")').click())).toString());
  same(csv.length, total, `${title}: rows exported`);
  const address = await page.locator('#view-link').getAttribute('href');
  await page.goto('about:blank');
  await page.goto(address);
  await page.locator('#done').waitFor();
  await page.locator('.head .cell[aria-sort=descending]').waitFor();
  same(await count(page), total, `${title}: rows by the link`);
  same((await columnTexts(page))[0], texts[0], `${title}: first row by the link`);
}

exports['every report is opened, filtered, run, sorted, exported, and reopened by its link'] = async (test) => {
  const titles = await test.page.locator('.groups .entry > span:first-child').allInnerTexts();
  same(titles.length, 18, 'reports');
  for (const title of titles) {
    if (title === '销售利润表') {
      await open(test.page, title);
      await test.page.locator('#why').waitFor();
      assert.ok(await test.page.locator('#run').isDisabled(), 'what cannot run has no button to run it');
    } else {
      await oneReport(test, title);
    }
  }
};

exports['reports are found by Chinese and English titles'] = async ({page}) => {
  for (const [words, wanted] of [
    ['保质', '保质期预警'],
    ['shelf', '保质期预警'],
    ['流水', '出入库流水帐'],
  ]) {
    await page.locator('#search').fill(words);
    assert.deepStrictEqual(await page.locator('.groups .entry > span:first-child').allInnerTexts(), [wanted]);
  }
};

exports['a run is stopped in the middle'] = async ({page, holdDatabase}) => {
  await open(page, '出入库流水帐');
  const release = holdDatabase();
  try {
    await page.waitForTimeout(700);
    await page.locator('#run').click();
    await page.locator('#progress progress').waitFor();
    await page.waitForTimeout(800);
    await page.locator('#stop').click();
    await page.locator('#progress', {hasText: '已停止'}).waitFor();
    assert.ok(await page.locator('#result').isHidden(), 'a stopped run has no result');
  } finally {
    await release();
  }
  assert.ok((await run(page)) > 0, 'and runs afterwards');
};

exports['what check finds stands beside its field, and an error of the database is shown'] = async ({page}) => {
  await open(page, '收发存汇总表');
  const field = page.locator('fieldset', {has: page.locator('legend:text-is("日期")')});
  await field.locator('.finding.warning', {hasText: /不填日期时，查询期间从 2001-11-01 开始.*LW201/}).waitFor();
  assert.match(await page.locator('.notes').textContent(), /LW207.*类型为 34 的单据计入期初结存/, 'a note in Chinese');
  await field.locator('select').selectOption('thisYear');
  await field.locator('.finding', {hasText: 'LW201'}).waitFor({state: 'detached'});
  await open(page, '货位汇总表');
  const level = page.locator('.field', {has: page.locator('label:text-is("辅计量单位级次")')});
  await level.locator('input').fill('1');
  await level.locator('.finding.error', {hasText: 'LW305'}).waitFor();
  await page.locator('#run').click();
  const error = page.locator('#problem .finding.error');
  await error.waitFor();
  assert.match(await error.innerText(), /207|iAssUnitGrade/);
  assert.ok(await error.locator('.caret').count(), 'a caret shows the place');
};

exports['both languages, by the browser and by the switch'] = async ({browser, page, home, context}) => {
  await page.locator('#language').selectOption('en');
  await open(page, 'Sales detail');
  same(await page.locator('html').getAttribute('lang'), 'en', 'lang');
  await run(page);
  const heads = await page.locator('.head .cell .text').allInnerTexts();
  assert.ok(heads.length > 5 && heads.every((head) => !/[\u4e00-\u9fff]/.test(head)), `English headings: ${heads}`);
  await page.locator('#language').selectOption('zh');
  await page.locator('.head .cell .text:text-is("客户名称")').waitFor();
  const english = await browser.newContext({
    locale: 'en-GB',
    storageState: {cookies: (await context.storageState()).cookies, origins: []},
  });
  const other = await english.newPage();
  await other.goto(home);
  await other.locator('.entry:has-text("Sales detail")').waitFor();
  const chinese = await other.evaluate(() =>
    [...document.querySelectorAll('.top, .side, main')]
      .map((part) => part.innerText)
      .join('')
      .replace('中文', ''),
  );
  assert.doesNotMatch(chinese, /[\u4e00-\u9fff]/, 'an English page has English texts alone');
  await english.close();
};

exports['a name with markup is text wherever it stands'] = async ({page, hostile}) => {
  await open(page, '安全库存预警');
  const item = page
    .locator('fieldset', {has: page.locator('legend:text-is("存货编码")')})
    .locator('input')
    .first();
  await item.fill('010101001');
  await page.locator('[role=option]', {hasText: hostile}).waitFor();
  await item.press('Escape');
  await run(page);
  const texts = await columnTexts(page, '存货名称');
  assert.ok(texts.includes(hostile), `the name in the table: ${texts.slice(0, 4)}`);
  await page.locator('.rows .cell', {hasText: hostile}).first().dblclick();
  await page.locator('.chip', {hasText: hostile}).waitFor();
  await page.locator('#tab-picture').click();
  await page.locator('#picture-category').selectOption({label: '存货名称'});
  await page.locator('.figures summary').click();
  await page.locator('.figures th', {hasText: hostile}).waitFor();
  same(await page.evaluate(() => [window.hacked, document.images.length].join()), ',0', 'nothing of it became markup');
};

exports['the table sorts, filters, hides, moves, copies and remembers'] = async ({page}) => {
  await open(page, '出入库流水帐');
  const all = await run(page);
  const hidden = Number(/\d+/.exec(await page.locator('.bar button').first().innerText())[0]);
  assert.ok(hidden > 10, 'empty columns are hidden');
  const grid = page.locator('.grid');
  await grid.focus();
  await grid.press('Control+End');
  await page.locator(`.row[aria-rowindex="${all + 1}"] .cell.active`).waitFor();
  await grid.press('Control+Home');
  for (const key of ['Home', 'Shift+ArrowDown', 'Shift+ArrowRight', 'Control+c']) await grid.press(key);
  await page.locator('#said', {hasText: '2 行 × 2 列'}).waitFor();
  const copied = (await page.evaluate(() => navigator.clipboard.readText()))
    .split('\n')
    .map((line) => line.split('\t'));
  assert.deepStrictEqual(
    copied.map((line) => line.length),
    [2, 2],
  );
  same(copied[0][0], (await columnTexts(page))[0], 'the first cell copied');
  const second = await page.locator('.head .cell .text').nth(1).innerText();
  await page.locator('.head .cell').nth(1).click({button: 'right'});
  const value = page.locator('.panel .values button').first();
  const [text, of] = await value.locator('span').allInnerTexts();
  await value.click();
  await page.locator('.chip', {hasText: text}).waitFor();
  await page.waitForFunction((wanted) => document.querySelector('#count').textContent.includes(wanted), of);
  assert.ok(
    (await columnTexts(page, second)).every((one) => one === text),
    'all rows have the value',
  );
  await page.locator('.head .cell').nth(1).click({button: 'right'});
  await page.locator('.panel button', {hasText: '隐藏此列'}).click();
  await page.reload();
  await page.locator('#done').waitFor();
  assert.ok(
    !(await page.locator('.head .cell .text').allInnerTexts()).includes(second),
    'a hidden column stays hidden',
  );
  await page.locator('.chip', {hasText: text}).click();
  await page.waitForFunction(
    (wanted) => document.querySelector('#count').textContent.replace(/\D/g, '') === String(wanted),
    all,
  );
};

exports['a picture is drawn, told in words, and saved'] = async ({page}) => {
  await open(page, '销售明细表');
  await run(page);
  await page.locator('#tab-picture').click();
  await page.locator('#chart').waitFor();
  for (const kind of ['line', 'pie', 'scatter', 'bar']) {
    await page.locator('#picture-kind').selectOption(kind);
    await page.locator('#chart').waitFor();
    const svg = (await download(page, () => page.locator('button:text-is("存为 SVG")').click())).toString();
    const wrong = await page.evaluate(
      (text) => new DOMParser().parseFromString(text, 'image/svg+xml').querySelector('parsererror')?.textContent,
      svg,
    );
    same(wrong, undefined, `SVG of ${kind}`);
    assert.ok(!svg.includes('NaN') && /<(rect|path|circle|polyline)/.test(svg), `SVG of ${kind} has figures`);
  }
  const png = await download(page, () => page.locator('button:text-is("存为 PNG")').click());
  same(png.subarray(1, 4).toString(), 'PNG', 'the file');
  assert.match(await page.locator('#chart').getAttribute('aria-label'), /项/);
  assert.ok((await page.locator('.figures tbody tr').count()) > 5, 'the figures as a table');
};

exports['a request is saved as a file, opened and deleted; two periods are compared'] = async ({page, requests}) => {
  await open(page, '销售明细表');
  const date = page.locator('fieldset', {has: page.locator('legend:text-is("日期")')}).locator('input');
  await date.first().fill('2002-03-01');
  await date.last().fill('2002-03-31');
  await page.locator('#save').click();
  await page.locator('dialog input[name=name]').fill('march');
  await page.locator('dialog button.main').click();
  await page.locator('.saved .entry', {hasText: 'march'}).waitFor();
  const [file] = fs.readdirSync(requests);
  same(JSON.parse(fs.readFileSync(path.join(requests, file), 'utf8')).class, 'newclsReportDataSaleDetail', 'the file');
  await open(page, '现存量');
  await page.locator('.saved .entry').click();
  same(await date.first().inputValue(), '2002-03-01', 'the form of the saved request');
  const all = await run(page);
  await page.locator('#compare').click();
  await page.locator('dialog input[name=from]').fill('2002-03-01');
  await page.locator('dialog input[name=to]').fill('2002-03-30');
  await page.locator('dialog button.main').click();
  await page.locator('#back').waitFor();
  await page.locator('.rows .cell.sign').first().waitFor();
  const differences = await count(page);
  assert.ok(differences > 0 && differences < all, `${differences} differences of ${all} rows`);
  await page.locator('#back').click();
  await page.waitForFunction(
    (wanted) => document.querySelector('#count').textContent.replace(/\D/g, '') === String(wanted),
    all,
  );
  await page.locator('.saved .quiet').click();
  await page.locator('dialog button.main').click();
  await page.locator('.saved').waitFor({state: 'detached'});
  assert.deepStrictEqual(fs.readdirSync(requests), []);
};

exports['the keyboard alone reaches everything'] = async ({page}) => {
  const {keyboard} = page;
  const focus = () => page.evaluate(() => document.activeElement.id || document.activeElement.className);
  await keyboard.press('Tab');
  same(await focus(), 'skip', 'the first stop');
  await keyboard.press('/');
  await keyboard.type('journal');
  await keyboard.press('Enter');
  await page.locator('#title', {hasText: '出入库流水帐'}).waitFor();
  await keyboard.press('Control+Enter');
  await page.locator('#done').waitFor();
  for (let i = 0; i < 60 && (await focus()) !== 'grid'; ++i) await keyboard.press('Tab');
  same(await focus(), 'grid', 'the table is a stop');
  for (const key of ['Control+Home', 'ArrowUp', 'Enter', 'Enter']) await keyboard.press(key);
  await page.locator('.head .cell[aria-sort=descending]').waitFor();
  await keyboard.press('Alt+ArrowDown');
  await page.locator('.panel').waitFor();
  await keyboard.press('Escape');
  await page.locator('.panel').waitFor({state: 'detached'});
  same(await focus(), 'grid', 'the focus after the menu');
  await keyboard.press('Alt+2');
  await page.locator('#chart').waitFor();
  await keyboard.press('?');
  await page.locator('dialog kbd').first().waitFor();
  await keyboard.press('Escape');
  await page.locator('dialog').waitFor({state: 'detached'});
};

exports['axe-core finds nothing serious, in light and dark, wide and narrow'] = async ({page, axe}) => {
  for (const [scheme, width] of [
    ['light', 1440],
    ['dark', 1440],
    ['light', 360],
  ]) {
    const where = `${scheme}, ${width} pixels`;
    await page.emulateMedia({colorScheme: scheme});
    await page.setViewportSize({width, height: 800});
    await page.reload();
    if (width < 760) await page.locator('#menu').click();
    await open(page, '收发存汇总表');
    await page.locator('.finding').first().waitFor();
    await accessible(page, axe, `form, ${where}`);
    await run(page);
    await page.locator('.rows .cell').first().waitFor();
    await accessible(page, axe, `table, ${where}`);
    same(
      await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth),
      true,
      `nothing sticks out, ${where}`,
    );
    await page.locator('.head .cell').first().click({button: 'right'});
    await page.locator('.panel .values button').first().waitFor();
    await accessible(page, axe, `menu, ${where}`);
    await page.keyboard.press('Escape');
    await page.locator('#tab-picture').click();
    await page.locator('#chart').waitFor();
    await page.locator('.figures summary').click();
    await accessible(page, axe, `picture, ${where}`);
    await page.locator('#compare').click();
    await accessible(page, axe, `dialog, ${where}`);
    await page.keyboard.press('Escape');
  }
};

exports['print gives the table with title and every row'] = async ({page}) => {
  await open(page, '安全库存预警');
  const total = await run(page);
  await page.evaluate(() => {
    window.print = () => {
      window.printed = true;
    };
  });
  await page.locator('#print').click();
  await page.waitForFunction(() => window.printed);
  await page.emulateMedia({media: 'print'});
  same(await page.locator('.paper h1').innerText(), '安全库存预警', 'the title');
  same(await page.locator('.paper tbody tr').count(), total, 'rows on paper');
  assert.ok(await page.locator('.top').isHidden(), 'and nothing else');
};

exports['pictures of five reports'] = async ({page, pictures}) => {
  const shots = [
    ['安全库存预警', 'picture', 'light', 1440],
    ['收发存汇总表', 'table', 'light', 1440],
    ['销售明细表', 'picture', 'dark', 1440],
    ['出入库流水帐', 'table', 'dark', 1440],
    ['现存量', 'table', 'light', 360],
  ];
  for (const [title, tab, scheme, width] of shots) {
    await page.emulateMedia({colorScheme: scheme});
    await page.setViewportSize({width, height: 860});
    if (width < 760) await page.locator('#menu').click();
    await open(page, title);
    await run(page);
    await page.locator(`#tab-${tab}`).click();
    await page
      .locator(tab === 'picture' ? '#chart' : '.rows .cell')
      .first()
      .waitFor();
    await page.waitForTimeout(200);
    const file = path.join(pictures, `${title}.png`);
    await page.screenshot({path: file});
    assert.ok(fs.statSync(file).size > 20000, `${title} is a picture of something`);
  }
};
