// SPDX-License-Identifier: Apache-2.0
// The browser of the tests: Debian's Chromium, driven by the packages of the lock file. FOLDER is where build.mjs has built.
import { createRequire } from 'node:module';
import { existsSync } from 'node:fs';
import { join, resolve } from 'node:path';

export const folder = resolve(process.env.CONSOLE_FOLDER ?? 'build/web');
const packages = createRequire(join(folder, 'package.json'));
const { chromium } = packages('playwright-core');
const axe = packages.resolve('axe-core/axe.min.js');

export async function openBrowser() {
  const executablePath = ['/usr/bin/chromium', '/usr/bin/chromium-browser'].find(existsSync);
  if (!executablePath) throw new Error('Chromium is missing (package chromium)');
  return chromium.launch({ executablePath, args: ['--no-sandbox', '--disable-gpu'] });
}

// A page of its own, which remembers what a console without a fault never has: failures of scripts, and breaches of the policy.
export async function openPage(browser, options = {}) {
  const context = await browser.newContext({ locale: 'en-GB', timezoneId: 'UTC', viewport: { width: 1280, height: 800 }, ...options });
  const page = await context.newPage();
  page.setDefaultTimeout(10000);
  page.faults = [];
  page.on('pageerror', (failed) => page.faults.push(String(failed)));
  page.on('console', (message) => {
    const text = message.text();
    if (message.type() === 'error' && !/Failed to load resource|net::ERR/.test(text)) page.faults.push(text);
  });
  return page;
}

// What axe finds in the page as it stands. It is put in by the browser's own protocol, which the page's policy does not hold back.
export async function axeFindings(page) {
  await page.evaluate(() => Promise.all(document.getAnimations().map((one) => one.finished.catch(() => undefined))));
  const { readFileSync } = await import('node:fs');
  await page.evaluate(readFileSync(axe, 'utf8'));
  const { violations } = await page.evaluate(() => globalThis.axe.run(document, { resultTypes: ['violations'] }));
  return violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => `${node.target} ${node.failureSummary}`).join('\n  ')}`);
}
