// SPDX-License-Identifier: Apache-2.0
// What a product costs on a day, for a quantity, in a currency, and by which line.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { asDate, date, money, none, number, today } from '../format.js';
import { get } from '../host/requests.js';
import type { FoundProduct, HoldingPrice, Page, Product } from '../host/records.js';
import { downTo } from '../parts/long-list.js';
import { priceTable } from '../parts/price-table.js';
import { stepChart } from '../parts/step-chart.js';
import { View, refusal } from '../parts/view.js';
import { address, go, stay } from '../place.js';
import { byQuantity, overTime } from '../prices.js';

const pause = 150;

@customElement('prices-view')
export class PricesView extends View {
  @state() private product?: Product;
  @state() private price?: HoldingPrice;
  @state() private noPrice: unknown;
  @state() private hits: FoundProduct[] = [];

  private typed = 0;

  protected async load(signal: AbortSignal): Promise<void> {
    const { query } = this.place;
    const id = query.get('product');
    this.hits = [];
    if (!id) {
      this.product = this.price = undefined;
      return;
    }
    if (String(this.product?.['PRODUCTID']) !== id) {
      const product = await get<Product>(`api/v1/products/${encodeURIComponent(id)}`, {}, signal);
      if (signal.aborted) return;
      this.product = product;
    }
    this.noPrice = undefined;
    try {
      const price = await get<HoldingPrice>(
        `api/v1/products/${encodeURIComponent(id)}/price`,
        { quantity: this.quantity, date: this.day, currency: this.currency },
        signal,
      );
      if (!signal.aborted) this.price = price;
    } catch (failed) {
      if (signal.aborted) return;
      this.price = undefined;
      this.noPrice = failed;
    }
  }

  private get quantity(): string {
    return this.place.query.get('quantity') ?? '1';
  }

  private get day(): string {
    return this.place.query.get('date') ?? today();
  }

  private get currency(): string {
    return this.place.query.get('currency') ?? this.currencies[0] ?? '';
  }

  private get currencies(): string[] {
    return [...new Set((this.product?.prices ?? []).map((line) => line.CURRENCYCODE ?? '').filter(Boolean))];
  }

  override render(): TemplateResult {
    return html`
      <h1>Prices</h1>
      ${this.search()} ${refusal(this.failure)} ${this.product ? this.ofProduct(this.product) : this.place.query.get('product') ? nothing : this.begin()}
    `;
  }

  private search(): TemplateResult {
    return html`<form class="asked" role="search" @submit=${this.first}>
        <label class="unseen" for="product">Product: part number or description</label>
        <input
          id="product"
          type="search"
          placeholder="Product: part number or description"
          autocomplete="off"
          spellcheck="false"
          @keydown=${downTo(() => this.querySelector('long-list'))}
          @input=${this.typing}
        />
      </form>
      ${this.hits.length
        ? html`<long-list
            label="Products found"
            kind="hit"
            .items=${this.hits}
            .to=${({ id }: FoundProduct) => address(['prices'], { product: id })}
            .show=${({ partNumber, description }: FoundProduct) => html`<span class="code muted">${partNumber}</span><span>${description}</span>`}
            @above=${() => this.querySelector<HTMLElement>('#product')?.focus()}
          ></long-list>`
        : nothing}`;
  }

  private begin(): TemplateResult {
    return html`<div class="empty">
      <h2>Which product?</h2>
      <p>Look for it above; then day, quantity and currency decide which of its lines holds.</p>
    </div>`;
  }

  private ofProduct(product: Product): TemplateResult {
    const day = asDate(this.day).getTime();
    const others = this.currencies.includes(this.currency) ? this.currencies : [...this.currencies, this.currency];
    return html`
      <h2><a href=${address(['product', String(product['PRODUCTID'])])}>${product['PRODUCTDESCRIPTION']}</a></h2>
      <p class="code muted">${product['PARTNUMBER']}</p>
      <form class="asked" @submit=${(event: Event) => event.preventDefault()} @change=${this.asked}>
        <label>Day <input name="date" type="date" .value=${this.day} required /></label>
        <label>Quantity <input name="quantity" type="number" min="0" step="any" .value=${this.quantity} required /></label>
        <label
          >Currency
          <input name="currency" list="currencies" .value=${this.currency} autocomplete="off" spellcheck="false" size="5" />
        </label>
        <datalist id="currencies">${others.map((one) => html`<option value=${one}></option>`)}</datalist>
      </form>
      <div class="answer" role="status">${this.price ? this.holding(this.price) : this.noneHolds()}</div>
      ${product.prices.length
        ? html`<div class="charts">${[...byQuantity(product.prices, day), ...overTime(product.prices, day)].map(stepChart)}</div>
            ${priceTable(product.prices, 'All lines')}`
        : nothing}
    `;
  }

  private holding({ price, currency, line }: HoldingPrice): TemplateResult {
    const whole = Number(price) * Number(this.quantity);
    return html`<p class="large">${money(price, currency)}</p>
      <p>
        ${number(Number(this.quantity))} on ${date(this.day)}: ${money(whole, currency)}
        <span class="muted"
          >by the line from ${date(line.PRICEEFFECTIVEDATE)} of ${line.PRICE === null ? none : money(line.PRICE, line.CURRENCYCODE)}</span
        >
      </p>`;
  }

  private noneHolds(): TemplateResult | typeof nothing {
    return this.noPrice ? html`<p class="large muted">No price</p>${refusal(this.noPrice)}` : nothing;
  }

  private asked(event: Event): void {
    const given = Object.fromEntries(
      [...new FormData(event.currentTarget as HTMLFormElement)].map(([name, value]) => [name, String(value)]),
    );
    stay(address(['prices'], { product: this.place.query.get('product') ?? '', ...given }));
  }

  private typing(event: Event): void {
    const query = (event.target as HTMLInputElement).value;
    window.clearTimeout(this.typed);
    this.typed = window.setTimeout(async () => {
      if (!query.trim()) {
        this.hits = [];
        return;
      }
      try {
        this.hits = (await get<Page<FoundProduct>>('api/v1/products', { query, limit: 8 })).items;
        this.failure = undefined;
      } catch (failed) {
        this.failure = failed;
      }
    }, pause);
  }

  private first(event: Event): void {
    event.preventDefault();
    const best = this.hits[0];
    if (best) go(address(['prices'], { product: best.id }));
  }
}
