// SPDX-License-Identifier: Apache-2.0
// The console in a browser, before a double of the host: what is seldom, hostile, large or away. The real host has a file of its own.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { after, afterEach, before, beforeEach, test } from 'node:test';
import { axeFindings, folder, openBrowser, openPage } from './browser.mjs';
import { Double, hostile } from './double.mjs';

let browser;
let host;
let page;

before(async () => (browser = await openBrowser()));
after(() => browser.close());

beforeEach(async () => {
  host = new Double(join(folder, 'dist'));
  await host.listen();
  page = await openPage(browser);
});
afterEach(async () => {
  assert.deepEqual(page.faults, []);
  await page.context().close();
  await host.close();
});

const open = async (hash = '') => {
  await page.goto(host.address + hash);
  await page.waitForSelector('h1', { state: 'attached' });
};
const text = (selector) => page.locator(selector).first().innerText();
const rows = () => page.locator('.rows li');

const sources = join(dirname(fileURLToPath(import.meta.url)), '..');

test('EverySourceBeginsWithItsLicence', () => {
  const files = ['', 'src', 'src/host', 'src/parts', 'src/style', 'src/views', 'tests'].flatMap((below) =>
    readdirSync(join(sources, below)).filter((name) => /\.(ts|mjs|css|svg|html)$/.test(name)).map((name) => join(sources, below, name)));
  assert.ok(files.length > 25);
  for (const file of files) assert.match(readFileSync(file, 'utf8').split('\n', 2).join('\n'), /SPDX-License-Identifier: Apache-2\.0/, file);
});

test('FindAnswersAsOneTypesAndKeepsTheQuestionInTheAddress', async () => {
  await open();
  await page.keyboard.type('cable m-10014');
  await page.waitForFunction(() => document.querySelector('.found').textContent === '1 product');
  assert.equal(new URL(page.url()).hash, '#/find?query=cable+m-10014');
  assert.deepEqual(await rows().locator('.words').allInnerTexts(), ['Cable duct, size 50']);
  await page.reload();
  await page.waitForFunction(() => document.querySelector('.found').textContent === '1 product');
  assert.equal(await page.inputValue('#query'), 'cable m-10014');
});

test('OfLongListsOnlyWhatIsInSightIsInThePage', async () => {
  await open();
  await rows().first().waitFor();
  const scroller = page.locator('.rows');
  for (let last = ''; ; ) {
    assert.ok((await rows().count()) < 60);
    await scroller.evaluate((element) => (element.scrollTop = element.scrollHeight));
    await page.waitForTimeout(60);
    const now = await scroller.evaluate((element) => String(element.scrollHeight));
    if (now === last && Number(now) > 2499 * 32) break;
    last = now;
  }
  await page.waitForSelector('[data-index="2499"]');
  assert.equal(await page.locator('[data-index="2499"] .words').innerText(), 'Erlenmeyer flask, size 33');
});

const ended = (more) => ({ kind: 'products', mode: 'upload', name: 'a.xml', state: 'done', read: 9, done: 9, total: 9, started: '2026-11-22T16:00:00Z', ended: null, findings: 0, stoppedBy: null, counts: { inserted: 1, updated: 2, unchanged: 0, refused: 6, left: 0 }, ...more });

test('EveryLongListKeepsOnlyWhatIsInSightInThePageAndReachesItsEnd', async () => {
  host.many = 2000;
  host.uploads.push(ended({ id: '1', findings: 3500 }));
  for (let id = 2; id <= 900; ++id) host.uploads.push(ended({ id: String(id) }));
  host.uploads[0].started = null; // the oldest
  const lists = {
    '#/classification/units': 'U1999', '#/classification/groups': 'E of 1999', '#/classification/unspsc?query=commodity': [...host.codes].filter(([code]) => code.length === 8)[199][0],
    '#/upload/1': 'QM-BAD-3499', '#/upload': 'not yet',
  };
  for (const [hash, last] of Object.entries(lists)) {
    await open(hash);
    const scroller = page.locator('.rows');
    await scroller.locator('li').first().waitFor();
    if (hash === '#/upload/1') await page.waitForFunction(() => document.querySelector('[aria-setsize="3500"]'));
    await scroller.evaluate((element) => (element.scrollTop = element.scrollHeight));
    await page.waitForFunction((words) => [...document.querySelectorAll('.rows li')].at(-1).textContent.includes(words), last);
    assert.ok((await page.locator('.rows li').count()) < 60, hash);
  }
  await page.locator('.rows a').last().focus();
  await page.locator('.rows').evaluate((element) => (element.scrollTop = 0));
  await page.waitForFunction(() => document.querySelector('[data-index="0"]') && document.activeElement.dataset.index === '899');
  await page.keyboard.press('Home');
  await page.waitForFunction(() => document.activeElement.dataset.index === '0');
});

test('FindingsBeyondTwentyThousandAreCountedWhenTheyAreWanted', async () => {
  host.uploads.push(ended({ id: '1', findings: 21000 }));
  await open('#/upload/1');
  await page.waitForSelector('h2 >> text=Findings by field and reason, of the first 20,000');
  await page.click('text=Take in the next 1,000');
  await page.waitForFunction(() => [...document.querySelectorAll('h2')].some((head) => head.textContent === 'Findings by field and reason'));
  assert.match(await text('.bars'), /UNITCODE\s+10,500/);
  assert.equal(await page.locator('text=Take in the next').count(), 0);
  assert.equal(await page.getAttribute('.rows li', 'aria-setsize'), '21000');
});

test('FiltersStandInTheAddressAndAreAskedFor', async () => {
  await open();
  await page.selectOption('select[name=catalog]', '2');
  await page.fill('input[name=user]', 'BEN.OKORO');
  await page.waitForFunction(() => location.hash === '#/find?catalog=2&user=BEN.OKORO');
  await page.waitForFunction(() => document.querySelector('.found').textContent === '833 products');
  assert.ok(host.asked.includes('GET /api/v1/products?catalog=2&user=BEN.OKORO'));
  await page.click('text=Clear');
  await page.waitForFunction(() => location.hash === '#/find');
});

test('KeysAloneFindOpenAndChangeAProduct', async () => {
  await open('#/prices');
  await page.keyboard.press('g');
  await page.keyboard.press('c');
  await page.waitForFunction(() => location.hash === '#/catalogue');
  await page.keyboard.press('?');
  await page.waitForSelector('dialog.keys[open]');
  await page.keyboard.press('Escape');
  await page.keyboard.press('/');
  await page.waitForFunction(() => document.activeElement?.id === 'query');
  await page.keyboard.type('gc?/ cable'); // none of these is a key while one types
  await page.waitForFunction(() => document.querySelector('.empty h2')?.textContent === 'Nothing fits');
  await page.fill('#query', 'm-10011');
  await page.waitForFunction(() => document.querySelectorAll('.rows li').length === 2);
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('ArrowDown');
  await page.waitForFunction(() => document.activeElement?.dataset.index === '1');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.themes');
  const button = page.locator('button.value', { hasText: 'Remark' });
  await button.focus();
  await page.keyboard.press('Enter');
  await page.keyboard.type('by keys');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.undo p');
  assert.match(await text('.undo'), /Remark was –, and is by keys\./);
  await page.waitForFunction(() => document.activeElement?.textContent.includes('Remark'));
});

test('KeysReachEveryViewAndTheFocusIsAlwaysSeen', async () => {
  await open('#/find');
  for (const [letter, hash] of Object.entries({ c: '#/catalogue', k: '#/classification', p: '#/prices', u: '#/upload', f: '#/find' })) {
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press('g');
    await page.keyboard.press(letter);
    await page.waitForFunction((there) => location.hash === there && document.querySelector('h1'), hash);
    // The view is there whole, and has taken the focus.
    await page.waitForFunction(
      () => document.activeElement !== document.body && [...document.querySelectorAll('main *')].every((each) => !each.loading),
    );
    const reached = new Set();
    for (let i = 0; i < 16; ++i) {
      await page.keyboard.press('Tab');
      const seen = await page.evaluate(() => {
        const at = document.activeElement;
        if (at === document.body) return 'the page'; // behind its last element
        const shown = at.matches('.drop input') ? at.parentElement : at;
        const style = getComputedStyle(shown);
        const isSeen = style.outlineStyle !== 'none' || shown.matches('.drop') || (at.matches('[role=tree]') && getComputedStyle(at.querySelector('.active')).outlineStyle !== 'none');
        return isSeen ? `${at.tagName} ${at.textContent.trim()}` : `unseen: ${at.outerHTML.slice(0, 200)}`;
      });
      assert.ok(!seen.startsWith('unseen'), `${hash}: ${seen}`);
      reached.add(seen);
    }
    assert.ok(reached.size > 8, `${hash}: ${[...reached]}`);
  }
});

test('NothingJumpsWhileAViewFillsAndAValueIsChanged', async () => {
  await page.addInitScript(() => {
    window.jumps = [];
    new PerformanceObserver((list) => {
      for (const entry of list.getEntries()) if (entry.value > 0.01) window.jumps.push(`${entry.value}: ${entry.sources.map(({ node }) => node?.outerHTML?.slice(0, 80))}`);
    }).observe({ type: 'layout-shift', buffered: true });
  });
  for (const hash of ['#/find', '#/product/20', '#/catalogue/1', '#/classification/unspsc', '#/prices?product=20', '#/upload']) {
    await page.goto('about:blank');
    await open(hash);
    await page.waitForLoadState('networkidle');
    assert.deepEqual(await page.evaluate(() => window.jumps), [], hash);
  }
  await page.goto('about:blank');
  await open('#/product/20');
  await page.click('text=Disable the product');
  await page.waitForSelector('.undo p');
  await page.waitForTimeout(100);
  assert.deepEqual(await page.evaluate(() => window.jumps), []);
});

test('ARefusedValueSaysWhyAndATakenOneCanBeUndone', async () => {
  await open('#/product/20');
  const change = async (title, value) => {
    await page.locator('button.value', { hasText: `Change ${title}:` }).click();
    await page.fill('.change input', value);
    await page.click('.change .main');
  };
  await change('Buyer', 'GHOST');
  await page.waitForSelector('.change .refusal');
  assert.equal(await text('.change .refusal'), 'The product record you are trying to insert has an invalid reference to another record');
  assert.equal(await text('.change .hint'), 'JONAS.GROSS becomes GHOST');
  await page.keyboard.press('Escape');
  await page.waitForSelector('.change', { state: 'detached' });
  await change('Least quantity', 'ten');
  await page.waitForSelector('.change .refusal');
  assert.equal(await text('.change .refusal'), 'Type mismatch.');
  await page.fill('.change input', '24');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.undo p');
  assert.match(await text('.undo'), /Least quantity was 10, and is 24\./);
  assert.equal(host.record(20).MINORDERQTY, 24);
  // The code goes along, without which the product would leave its categories.
  assert.ok(host.asked.includes('Mercato.Product Update20 [20,["MINORDERQTY","UNSPSCCODE"],["24","10101010"]]'));
  await page.click('.undo button');
  await page.waitForSelector('.undo p', { state: 'detached' });
  assert.equal(host.record(20).MINORDERQTY, 10);
  await change('COLOUR', 'blue');
  await page.waitForSelector('.undo p');
  assert.match(await text('.undo'), /COLOUR was white, and is blue\./);
  assert.ok(host.asked.includes('Mercato.Product UpdateProductPropertyValue [20,1,"blue"]'));
  await page.click('text=Disable the product');
  await page.waitForSelector('text=Enable the product');
  assert.equal(host.record(20).DISABLED, 1);
});

test('APriceLineIsChangedEndedAddedAndDeletedAndEachCanBeUndone', async () => {
  await open('#/product/20');
  const prices = () => host.record(20).prices.map(({ PRICE, QUANTITYTO, PRICEEXPIRYDATE }) => `${PRICE} to ${QUANTITYTO} until ${PRICEEXPIRYDATE?.slice(0, 10)}`);
  const before = structuredClone(host.record(20).prices);
  const undone = async () => {
    await page.click('.undo button');
    await page.waitForSelector('.undo p', { state: 'detached' });
    assert.deepEqual(sorted(host.record(20).prices), sorted(before));
  };
  const sorted = (lines) => lines.map((one) => JSON.stringify(one)).sort();
  const button = page.locator('.action button').first();
  await button.click();
  assert.equal(await text('dialog.price-line h2'), 'Price line of EUR\u00a04.35 up to 49, from 1 Jan 2026');
  assert.equal(await page.locator('dialog.price-line .main').isDisabled(), true);
  await page.fill('#price-CURRENCYCODE', 'XYZ');
  assert.equal(await text('.about li'), 'Currency: EUR becomes XYZ');
  await page.keyboard.press('Enter');
  await page.waitForSelector('dialog.price-line .refusal');
  assert.equal(await text('dialog.price-line .refusal'), 'The catalog product price record you are trying to insert has an invalid reference to another record.');
  await page.fill('#price-CURRENCYCODE', 'EUR');
  await page.fill('#price-PRICE', '4.5');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.undo p');
  assert.match(await text('.undo p'), /Of the price line of EUR\u00a04\.35 up to 49, from 1 Jan 2026: Price was 4\.35, and is 4\.5\./);
  assert.equal(prices()[0], '4.5 to 49 until 2035-12-31');
  assert.equal(await button.evaluate((one) => one === document.activeElement), true);
  await undone();
  await button.click();
  await page.click('dialog.price-line >> text=Delete the line');
  await page.waitForSelector('.undo p');
  assert.equal(await text('.undo p >> nth=0'), 'The price line of EUR\u00a04.35 up to 49, from 1 Jan 2026 was deleted.\nUndo');
  assert.equal(prices().length, 5);
  await undone();
  await button.click();
  await page.click('dialog.price-line >> text=End on');
  await page.waitForSelector('.undo p');
  assert.match(await text('.undo p'), /Until was 2035-12-31, and is 20\d\d-\d\d-\d\d\./);
  await undone();
  await page.click('text=Add a price line');
  await page.fill('#price-PRICE', '9');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.undo p');
  assert.match(prices()[6], /^9 to 999999999 until undefined$/);
  await undone();
});

test('WhatTheRoleOfATokenForbidsSaysSoWhereItWasTried', async () => {
  host.refusesChanges = true;
  const words = 'The role of this token does not allow it.';
  await open('#/product/20');
  await page.locator('button.value', { hasText: 'Change Remark:' }).click();
  await page.fill('.change textarea', 'x');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.change .refusal');
  assert.equal(await text('.change .refusal'), words);
  await page.keyboard.press('Escape');
  await page.locator('.action button').first().click();
  await page.click('dialog.price-line >> text=Delete the line');
  await page.waitForSelector('dialog.price-line .refusal');
  assert.equal(await text('dialog.price-line .refusal'), words);
  await page.keyboard.press('Escape');
  await page.waitForFunction(() => document.activeElement.closest('.action'));
  await page.click('text=Disable the product');
  await page.waitForSelector('.undo .refusal');
  assert.equal(await text('.undo .refusal'), words);
  await page.goto(`${host.address}#/upload`);
  await page.setInputFiles('input[type=file]', { name: 'products.xml', mimeType: 'text/xml', buffer: Buffer.from('<Products/>') });
  await page.click('.choice .main');
  await page.waitForSelector('main .refusal');
  assert.equal(await text('main .refusal'), words);
});

test('AReaderIsOfferedNothingThatChanges', async () => {
  host.session = { name: 'rita', role: 'reader', user: 'BEN.OKORO' };
  await open('#/product/20');
  await page.waitForSelector('.themes');
  assert.equal(await page.locator('main button').count(), 0);
  await page.goto(`${host.address}#/upload`);
  await page.waitForSelector('text=Your token may read only');
  await page.goto(`${host.address}#/find`);
  await page.waitForSelector('.rows');
  assert.equal(await page.locator('input[name=user]').count(), 0);
});

test('ATreeOfThousandsOpensALevelAtATimeAndTellsWhyAUserMayWhatHeMay', async () => {
  await open('#/catalogue/1?user=BEN.OKORO');
  await page.waitForSelector('.branch');
  await page.focus('[role=tree]');
  await page.keyboard.press('ArrowRight');
  await page.waitForSelector('text=Group 1.10');
  for (let i = 1; i <= 10; ++i) {
    await page.keyboard.press('ArrowDown');
    await page.keyboard.press('ArrowRight');
    await page.waitForFunction((name) => document.querySelector('.branch.active')?.textContent.includes(name) &&
      document.querySelector('.branch.active').ariaExpanded === 'true', `Group 1.${i}`);
    for (let k = 0; k < 60; ++k) await page.keyboard.press('ArrowDown');
  }
  assert.ok((await page.locator('.branch').count()) < 60);
  await page.keyboard.press('Enter');
  await page.waitForSelector('.detail table');
  assert.equal(await text('.detail h2'), 'Category 1.10.60');
  assert.match(await text('.detail'), /Sees\s+yes, the node is laid out for the user\s+Orders\s+yes, by the entry that decides/);
  await page.keyboard.press('End');
  await page.keyboard.press('Home');
  await page.keyboard.press('ArrowDown');
  assert.equal(await page.getAttribute('[role=tree]', 'aria-activedescendant'), await page.getAttribute('.branch.active', 'id'));
});

test('ABranchThatCannotBeReadSaysSoWhereItIs', async () => {
  await open('#/catalogue/1');
  await page.waitForSelector('.branch');
  // Node 612 is the first behind the first root's.
  await page.locator('.branch').nth(1).locator('.twig').click();
  await page.waitForFunction(() => document.querySelectorAll('.branch').length > 11 || document.querySelector('branch-tree .refusal'));
  assert.equal(host.nodes[611].name, hostile[0]);
  assert.equal(await text('branch-tree .refusal'), 'Too many requests wait.');
});

test('TwentyThousandCodesAreSearchedAndReached', async () => {
  assert.equal(host.codes.size, 20789);
  await open('#/classification/unspsc');
  await page.fill('#code', 'Copy paper 2011141');
  await page.waitForSelector('.hit');
  await page.locator('a.hit', { hasText: '20111415' }).click();
  await page.waitForSelector('#branch-20111415.active');
  assert.equal(new URL(page.url()).hash, '#/classification/unspsc?query=Copy+paper+2011141&code=20111415');
  assert.equal(await page.getAttribute('#branch-20111415', 'aria-level'), '4');
  await page.fill('#code', '2011');
  await page.waitForFunction(() => document.querySelector('.found').textContent === '1 code');
  await page.goto(`${host.address}#/classification/groups`);
  await page.waitForSelector('text=Without properties, group 2');
  await page.goto(`${host.address}#/classification/units`);
  await page.waitForSelector('.hit >> text=each');
});

test('APriceIsToldByDayQuantityAndCurrency', async () => {
  await open('#/prices?product=20&date=2026-07-01&quantity=60');
  await page.waitForSelector('.answer .large');
  assert.equal(await text('.answer .large'), 'EUR\u00a03.95');
  await page.fill('input[name=currency]', 'USD');
  await page.keyboard.press('Tab');
  await page.waitForFunction(() => document.querySelector('.answer .large').textContent === 'USD\u00a04.89');
  await page.fill('input[name=date]', '2020-01-01');
  await page.keyboard.press('Tab');
  await page.waitForSelector('.answer .refusal');
  assert.equal(await text('.answer .refusal'), 'No price line of product 20 holds for 60 on 2020-01-01 in USD.');
  await page.fill('#product', 'label printer');
  await page.waitForSelector('a.hit');
  await page.keyboard.press('Enter');
  await page.waitForFunction(() => document.querySelector('h2').textContent.startsWith('Label printer'));
});

test('NumbersAndDatesAreInTheReadersLanguage', async () => {
  await page.context().close();
  page = await openPage(browser, { locale: 'de-DE' });
  await open('#/prices?product=20&date=2026-07-01&quantity=1.5');
  await page.waitForSelector('.answer .large');
  assert.equal(await text('.answer .large'), '4,35\u00a0EUR');
  assert.match(await text('.answer'), /1,5 on 01\.07\.2026/);
});

test('ADocumentIsPreviewedUploadedFollowedAndCancelled', async () => {
  await open('#/upload');
  assert.equal(await page.locator('.choice .main').isDisabled(), true);
  await page.setInputFiles('input[type=file]', { name: 'products.xml', mimeType: 'text/xml', buffer: Buffer.from('<Products/>') });
  await page.click('.choice .main');
  await page.waitForSelector('progress');
  await page.waitForSelector('.mark.done');
  assert.equal(await text('h1'), 'Products, preview: products.xml');
  await page.waitForSelector('.bars');
  assert.match(await text('.bars'), /^UNITCODE\s+5\s+There is no such unit\.\s+4\s+It is empty\.\s+1\s+COMMODITYCODE: There is no such unit\.\s+3/);
  assert.equal(await page.locator('.row.finding:not(.head)').count(), 10);
  assert.match(await text('.counts'), /would be inserted\s+28\s+would be updated\s+0\s+would stay as they are\s+2\s+would be refused\s+10/);
  host.step = 400;
  await page.click('text=Upload: bad records are left out');
  await page.waitForFunction(() => document.querySelector('h1').textContent === 'Products, upload: products.xml');
  await page.waitForFunction(() => / of 40, about \d+ seconds? left/.test(document.querySelector('.progress')?.textContent));
  await page.click('text=Cancel: what is written stays');
  await page.waitForSelector('.mark.cancelled');
  assert.match(await text('.counts'), /refused/);
  assert.equal(await page.getAttribute('a[download]', 'href'), 'api/v1/uploads/2/remaining');
  assert.equal(await text('command-line code'), 'mercato uploads undo 2');
  await page.click('text=Uploads');
  await page.waitForSelector('a.row.upload');
  assert.deepEqual(await page.locator('a.row .mark').allInnerTexts(), ['cancelled', 'done']);
  assert.deepEqual(host.asked.filter((line) => line.startsWith('POST /api/v1/uploads')), [
    'POST /api/v1/uploads?kind=products&mode=preview&onErrors=skip&name=products.xml',
    'POST /api/v1/uploads?kind=products&mode=upload&onErrors=skip&name=products.xml',
  ]);
});

test('TheTokenOfAnAddressIsTakenOnceAndLeavesTheAddress', async () => {
  host.signedIn = false;
  await open('#token=right-token');
  await page.waitForSelector('.rows');
  assert.equal(new URL(page.url()).hash, '#/find');
  await page.click('text=Sign out');
  await page.waitForSelector('#token');
  await page.fill('#token', 'wrong');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.refusal');
  assert.equal(await text('.refusal'), 'The token is not known.');
  await page.fill('#token', 'right-token');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.rows');
  assert.equal(await page.evaluate(() => JSON.stringify([localStorage, sessionStorage, document.cookie])), '[{},{},""]');
});

test('AnEndedSessionIsGoneOnWithWhereItEnded', async () => {
  await open('#/product/20');
  await page.waitForSelector('.themes');
  host.signedIn = false;
  await page.locator('button.value', { hasText: 'Change Remark:' }).click();
  await page.fill('.change textarea', 'kept');
  await page.click('.change .main');
  await page.waitForSelector('dialog.ended[open]');
  await page.fill('dialog.ended #token', 'right-token');
  await page.click('dialog.ended .main');
  await page.waitForSelector('dialog.ended', { state: 'detached' });
  assert.equal(await page.inputValue('.change textarea'), 'kept');
  await page.click('.change .main');
  await page.waitForSelector('.undo p');
  assert.equal(host.record(20).PRODUCTREMARK, 'kept');
});

test('AHostThatIsAwayIsWaitedForAndTheViewGoesOn', async () => {
  await open('#/find?query=hex');
  await page.waitForSelector('.rows');
  const { port } = host;
  await host.close();
  await page.fill('#query', 'm-10011');
  await page.waitForSelector('.connection p');
  assert.equal(await text('.connection'), 'The host does not answer. It is asked again until it does.');
  host = new Double(join(folder, 'dist'));
  await host.listen(port);
  await page.waitForSelector('.connection p', { state: 'detached', timeout: 10000 });
  await page.waitForFunction(() => document.querySelector('.found').textContent === '2 products');
});

test('AnUploadIsFollowedOnWhenItsHostIsBack', async () => {
  host.step = 150;
  await open('#/upload');
  await page.setInputFiles('input[type=file]', { name: 'products.xml', mimeType: 'text/xml', buffer: Buffer.from('<Products/>') });
  await page.click('.choice .main');
  await page.waitForFunction(() => document.querySelector('progress')?.value > 0);
  const { port, uploads } = host;
  await host.close();
  await page.waitForSelector('.connection p');
  host = new Double(join(folder, 'dist'));
  host.uploads = uploads;
  await host.listen(port);
  await page.waitForSelector('.mark.done', { timeout: 20000 });
  assert.equal(await page.locator('.connection p').count(), 0);
});

test('AnUploadIsFollowedOnInANewSession', async () => {
  host.step = 150;
  await open('#/upload');
  await page.setInputFiles('input[type=file]', { name: 'products.xml', mimeType: 'text/xml', buffer: Buffer.from('<Products/>') });
  await page.click('.choice .main');
  await page.waitForFunction(() => document.querySelector('progress')?.value > 0);
  host.signedIn = false;
  host.breakOff();
  await page.waitForSelector('dialog.ended[open]');
  await page.fill('dialog.ended #token', 'right-token');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.mark.done', { timeout: 20000 });
  assert.equal(await page.locator('dialog.ended').count(), 0);
});

test('AnEmptyStoreSaysWhatToDoFirst', async () => {
  host.empty = true;
  const first = { '#/find': 'There is no product yet', '#/catalogue': 'There is no catalogue yet', '#/classification/unspsc': 'There is no code yet',
    '#/classification/groups': 'There is no property group yet', '#/classification/units': 'There is no unit yet', '#/prices': 'Which product?' };
  for (const [hash, words] of Object.entries(first)) {
    await open(hash);
    await page.waitForSelector('.empty');
    assert.equal(await text('.empty h2'), words);
    assert.deepEqual(await axeFindings(page), [], hash);
  }
  await page.goto(host.address);
  await page.waitForSelector('.steps');
  assert.equal(await page.locator('.steps .done').count(), 0);
  assert.deepEqual(await page.locator('command-line code').allInnerTexts(), ['units', 'currencies', 'partners', 'users'].map((table) => `mercato reference load ${table} ${table}.csv`));
});

const views = ['#/find', '#/find?query=x-', '#/product/1', '#/product/20', '#/catalogue/1?user=BEN.OKORO', '#/classification/unspsc?query=11',
  '#/classification/groups', '#/classification/units', '#/prices?product=1', '#/upload', '#/upload/1', '#/nowhere'];

test('NothingFromDataIsMarkupScriptOrAddress', async () => {
  host.uploads.push(ended({ id: '1', name: hostile[0], findings: 18, stoppedBy: hostile[2] }));
  for (let id = 2; id <= hostile.length; ++id) views.push(`#/product/${id}`);
  for (const hash of views) {
    await open(hash);
    await page.waitForTimeout(100);
    const found = await page.evaluate(() => ({
      struck: window.struck,
      elements: document.querySelectorAll('main img, main script, main b script, main [onerror], main [onload]').length,
      addresses: [...document.querySelectorAll('[href], [src]')].map((one) => one.href?.baseVal ?? one.href ?? one.src).filter((one) => !one.startsWith(location.origin)),
    }));
    assert.deepEqual(found, { struck: undefined, elements: 0, addresses: [] }, hash);
  }
  await open('#/product/1');
  await page.waitForSelector('.themes');
  assert.equal(await text('h1'), hostile[0]);
  await page.locator('.action button').last().click();
  await page.waitForSelector('dialog.price-line[open]');
  assert.ok((await text('dialog.price-line h2')).includes(`, group ${hostile[0]}, from`));
  await page.fill('#price-GROUPBY', hostile[1]);
  await page.keyboard.press('Enter');
  await page.waitForSelector('.undo p');
  assert.ok((await text('.undo')).includes(`Group was ${hostile[0]}, and is ${hostile[1]}.`));
  assert.equal(await page.evaluate(() => window.struck), undefined);
});

for (const colorScheme of ['light', 'dark'])
  for (const width of [360, 1600])
    test(`AxeFindsNothingAndNothingIsTooWide in ${colorScheme}, ${width} pixels`, async () => {
      await page.context().close();
      page = await openPage(browser, { colorScheme, viewport: { width, height: 800 } });
      host.uploads.push(ended({ id: '1', mode: 'preview', findings: 8 }), ended({ id: '2', findings: 8 }));
      const check = async (what) => {
        assert.deepEqual(await axeFindings(page), [], what);
        assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${what} is wider than the page`);
      };
      for (const hash of ['#/find', '#/product/20', '#/catalogue/1?user=BEN.OKORO', '#/classification/unspsc?query=11', '#/classification/groups',
        '#/prices?product=20', '#/upload', '#/upload/1']) {
        await open(hash);
        await page.waitForLoadState('networkidle');
        if (hash === '#/catalogue/1?user=BEN.OKORO') {
          await page.locator('.branch').first().click();
          await page.waitForSelector('.detail table');
        }
        if (hash === '#/product/20') {
          await page.locator('button.value', { hasText: 'Change Buyer:' }).click();
          await page.fill('.change input', 'GHOST');
          await page.click('.change .main');
          await page.waitForSelector('.refusal');
          await check(hash);
          await page.locator('.action button').first().click();
          await page.fill('#price-CURRENCYCODE', 'XYZ');
          await page.keyboard.press('Enter');
          await page.waitForSelector('dialog .refusal');
        }
        await check(hash);
      }
      await page.keyboard.press('?');
      await page.waitForSelector('dialog.keys[open]');
      await check('keys');
      host.signedIn = false;
      await page.reload();
      await page.waitForSelector('#token');
      await check('sign in');
    });

// The processor's time of the page's own thread counts, four times: a machine that does other things besides is no slower then.
test('TheFirstViewOfAProductTakesLessThanASecondOnAMachineFourTimesSlower', async () => {
  const protocol = await page.context().newCDPSession(page);
  await protocol.send('Performance.enable', { timeDomain: 'threadTicks' });
  await page.goto(`${host.address}#/product/20`);
  await page.waitForSelector('.themes .figure');
  const { metrics } = await protocol.send('Performance.getMetrics');
  const took = 4000 * metrics.find(({ name }) => name === 'TaskDuration').value;
  const shown = await page.evaluate(() => performance.now());
  console.log(`first view of a product: ${Math.round(took)} ms of a processor four times slower; here ${Math.round(shown)} ms`);
  assert.ok(took < 1000, `${took} ms`);
});
