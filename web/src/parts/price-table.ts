// SPDX-License-Identifier: Apache-2.0
// Price lines as a table. Who may change them gives what stands at the end of each row.
import { html, nothing, type TemplateResult } from 'lit';
import { date, money, none, number, upTo } from '../format.js';
import type { PriceLine } from '../host/records.js';

export function priceTable(lines: PriceLine[], caption: string, action?: (line: PriceLine) => TemplateResult): TemplateResult {
  return html`<div class="wide" tabindex="0" role="region" aria-label=${caption}>
    <table class="list">
      <caption class="unseen">${caption}</caption>
      <thead>
        <tr>
          <th scope="col" class="figure">To quantity</th>
          <th scope="col" class="figure">Price</th>
          <th scope="col">From</th>
          <th scope="col">Until</th>
          <th scope="col" class="figure">Discount</th>
          <th scope="col" class="figure">Tax</th>
          <th scope="col">Group</th>
          ${action ? html`<td class="action"></td>` : nothing}
        </tr>
      </thead>
      <tbody>
        ${lines.map(
          (line) => html`<tr>
            <td class="figure">${upTo(line.QUANTITYTO)}</td>
            <td class="figure strong">${line.PRICE === null ? none : money(line.PRICE, line.CURRENCYCODE)}</td>
            <td class="day">${date(line.PRICEEFFECTIVEDATE)}</td>
            <td class="day">${date(line.PRICEEXPIRYDATE)}</td>
            <td class="figure">${discount(line)}</td>
            <td class="figure">${line.PRICETAXPERCENTAGE === null ? none : `${number(line.PRICETAXPERCENTAGE)} %`}</td>
            <td>${line.GROUPBY || none}</td>
            ${action ? html`<td class="action">${action(line)}</td>` : nothing}
          </tr>`,
        )}
      </tbody>
    </table>
  </div>`;
}

function discount({ DISCOUNTPERC, DISCOUNTAMOUNT, CURRENCYCODE }: PriceLine): string {
  if (DISCOUNTPERC) return `${number(DISCOUNTPERC)} %`;
  return DISCOUNTAMOUNT && Number(DISCOUNTAMOUNT) ? money(DISCOUNTAMOUNT, CURRENCYCODE) : none;
}
