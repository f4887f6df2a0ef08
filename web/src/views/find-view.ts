// SPDX-License-Identifier: Apache-2.0
// Find: as one types, over part numbers and descriptions. What is asked for stands in the address.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { count, none } from '../format.js';
import { get } from '../host/requests.js';
import type { Catalogue, FoundProduct, List, Page } from '../host/records.js';
import { downTo } from '../parts/long-list.js';
import { View, refusal } from '../parts/view.js';
import { styled } from '../parts/windowing.js';
import { address, stay, type Query } from '../place.js';
import '../parts/first-steps.js';

const pause = 120; // milliseconds behind the last key before the host is asked
const filters = ['catalog', 'category', 'supplier', 'user'] as const;

@customElement('find-view')
export class FindView extends View {
  @state() private items: FoundProduct[] = [];
  @state() private total: number | null = null;
  @state() private catalogues: Catalogue[] = [];
  @state() private open = false; // the filters, where there is no room for them

  private next: string | null = null;
  private fetching = false;
  private typed = 0;

  override connectedCallback(): void {
    super.connectedCallback();
    get<List<Catalogue>>('api/v1/catalogs').then(
      ({ items }) => (this.catalogues = items),
      () => undefined, // then one filter is without its names
    );
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    window.clearTimeout(this.typed);
  }

  protected override firstUpdated(): void {
    this.focusQuery();
  }

  protected async load(signal: AbortSignal): Promise<void> {
    const page = await get<Page<FoundProduct>>('api/v1/products', this.asked(), signal);
    if (signal.aborted) return;
    this.items = page.items;
    this.next = page.next;
    this.total = page.total;
    this.querySelector('.rows')?.scrollTo(0, 0);
  }

  override render(): TemplateResult {
    const { query } = this.place;
    const catalogue = query.get('catalog') ?? '';
    const used = filters.filter((name) => query.get(name)).length;
    return html`
      <h1 class="unseen">Find</h1>
      <form class="asked" role="search" @submit=${(event: Event) => event.preventDefault()} @input=${this.typing}>
        <label class="unseen" for="query">Part number or description</label>
        <input
          id="query"
          name="query"
          type="search"
          placeholder="Part number or description"
          autocomplete="off"
          spellcheck="false"
          .value=${query.get('query') ?? ''}
          @keydown=${downTo(() => this.querySelector('long-list'))}
        />
        <button type="button" class="filters-toggle" aria-expanded=${this.open} @click=${() => (this.open = !this.open)}>
          Filters${used ? ` (${used})` : ''}
        </button>
        <div class="filters ${this.open ? 'open' : ''}">
          <label>
            Catalogue
            <select name="catalog">
              <option value="">all</option>
              ${this.catalogues.map(
                ({ id, name }) => html`<option value=${id} ?selected=${catalogue === String(id)}>${name}</option>`,
              )}
            </select>
          </label>
          ${this.filter('category', 'Category', 'number', '6em')} ${this.filter('supplier', 'Supplier', 'number', '6em')}
          ${this.session.user === null ? this.filter('user', 'As user', 'text', '10em') : nothing}
          ${used ? html`<button type="button" class="quiet" @click=${this.clear}>Clear</button>` : nothing}
        </div>
      </form>
      ${refusal(this.failure)}
      <p class="found" role="status">${this.found()}</p>
      ${this.items.length ? this.rows() : this.empty(used)}
    `;
  }

  private filter(name: (typeof filters)[number], title: string, type: string, width: string): TemplateResult {
    return html`<label>
      ${title}
      <input
        name=${name}
        type=${type}
        min="1"
        autocomplete="off"
        spellcheck="false"
        .value=${this.place.query.get(name) ?? ''}
        ${styled({ width })}
      />
    </label>`;
  }

  private rows(): TemplateResult {
    return html`<long-list
      class="found-products"
      label="Products found"
      kind="product"
      .head=${html`<span>Part number</span><span>Supplier’s number</span><span>Description</span><span>Unit</span>`}
      .items=${this.items}
      .all=${this.next ? (this.total ?? -1) : this.items.length}
      .to=${({ id }: FoundProduct) => address(['product', id])}
      .show=${productRow}
      @near-end=${this.more}
      @above=${this.focusQuery}
    ></long-list>`;
  }

  private found(): string {
    if (this.loading && !this.items.length) return 'Looking …';
    if (this.failure) return '';
    if (this.total !== null) return count(this.total, 'product', 'products');
    return this.next ? 'More than 1,000 products; the best are first' : count(this.items.length, 'product', 'products');
  }

  private empty(used: number): TemplateResult | typeof nothing {
    if (this.loading || this.failure) return nothing;
    if (this.place.query.get('query') || used)
      return html`<div class="empty">
        <h2>Nothing fits</h2>
        <p>Parts of words are enough, in any order. Fewer words find more${used ? ', and so do fewer filters' : ''}.</p>
      </div>`;
    return html`<first-steps .mayChange=${this.mayChange}></first-steps>`;
  }

  private asked(): Query {
    const { query } = this.place;
    return Object.fromEntries(['query', ...filters].map((name) => [name, query.get(name) ?? undefined]));
  }

  private typing(event: Event): void {
    const form = event.currentTarget as HTMLFormElement;
    window.clearTimeout(this.typed);
    this.typed = window.setTimeout(() => {
      const given = Object.fromEntries([...new FormData(form)].map(([name, value]) => [name, String(value)]));
      stay(address(['find'], given));
    }, pause);
  }

  private clear(): void {
    stay(address(['find'], { query: this.place.query.get('query') ?? '' }));
    this.focusQuery(); // the button that was pressed goes
  }

  private async more(): Promise<void> {
    if (this.fetching || !this.next) return;
    this.fetching = true;
    const before = this.items;
    try {
      const page = await get<Page<FoundProduct>>('api/v1/products', { ...this.asked(), limit: 200, after: this.next });
      if (this.items !== before) return; // something else was asked for meanwhile
      this.items = [...before, ...page.items];
      this.next = page.next;
    } catch (failed) {
      this.failure = failed;
      this.next = null;
    } finally {
      this.fetching = false;
    }
  }

  private focusQuery(): void {
    this.querySelector<HTMLInputElement>('#query')?.focus();
  }
}

function productRow({ partNumber, supplierPartNumber, description, disabled, unit }: FoundProduct): TemplateResult {
  return html`<span class="code ${disabled ? 'muted' : ''}">${partNumber}</span>
    <span class="code muted">${supplierPartNumber || none}</span>
    <span class="words ${disabled ? 'muted' : ''}">${description}${disabled ? html` <b class="mark">disabled</b>` : nothing}</span>
    <span class="muted unit">${unit}</span>`;
}
