// SPDX-License-Identifier: Apache-2.0
// Find: as one types, over part numbers and descriptions. What is asked for stands in the address.
import { html, nothing, type PropertyValues, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { repeat } from 'lit/directives/repeat.js';
import { count, none } from '../format.js';
import { get } from '../host/requests.js';
import type { Catalogue, FoundProduct, List, Page } from '../host/records.js';
import { View, refusal } from '../parts/view.js';
import { Windowing, styled } from '../parts/windowing.js';
import { address, stay, type Query } from '../place.js';

const narrow = window.matchMedia('(max-width: 720px)');
const pause = 120; // milliseconds behind the last key before the host is asked
// As in the style sheet: two lines where there is no room for columns.
const rowHeight = () => (narrow.matches ? 56 : 32);
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
  private readonly sight = new Windowing(this, {
    scroller: () => this.querySelector('.rows'),
    rowHeight,
  });
  private readonly widthChanged = () => this.requestUpdate();

  override connectedCallback(): void {
    super.connectedCallback();
    narrow.addEventListener('change', this.widthChanged);
    get<List<Catalogue>>('api/v1/catalogs').then(
      ({ items }) => (this.catalogues = items),
      () => undefined, // then one filter is without its names
    );
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    narrow.removeEventListener('change', this.widthChanged);
    window.clearTimeout(this.typed);
  }

  protected override firstUpdated(): void {
    this.querySelector<HTMLInputElement>('#query')?.focus();
  }

  protected override updated(changed: PropertyValues): void {
    super.updated(changed);
    if (this.next && this.sight.last > this.items.length - 20) void this.more();
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
          @keydown=${this.downToRows}
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
    const height = rowHeight();
    const shown = this.items.slice(this.sight.first, this.sight.last);
    const all = this.next ? (this.total ?? -1) : this.items.length;
    return html`
      <div class="row head" aria-hidden="true">
        <span>Part number</span><span>Supplier’s number</span><span>Description</span><span>Unit</span>
      </div>
      <div class="rows" tabindex="-1" @keydown=${this.walk}>
        <ul ${styled({ height: `${this.items.length * height}px` })}>
          ${repeat(
            shown,
            (item) => item.id,
            (item, i) => this.row(item, this.sight.first + i, height, all),
          )}
        </ul>
      </div>
    `;
  }

  private row(item: FoundProduct, index: number, height: number, all: number): TemplateResult {
    return html`<li aria-posinset=${index + 1} aria-setsize=${all} ${styled({ top: `${index * height}px`, height: `${height}px` })}>
      <a class="row ${item.disabled ? 'disabled' : ''}" href=${address(['product', item.id])} data-index=${index}>
        <span class="code">${item.partNumber}</span>
        <span class="code muted">${item.supplierPartNumber || none}</span>
        <span class="words">${item.description}${item.disabled ? html` <b class="mark">disabled</b>` : nothing}</span>
        <span class="muted unit">${item.unit}</span>
      </a>
    </li>`;
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
    return html`<div class="empty">
      <h2>There is no product yet</h2>
      <ol>
        <li>
          Units, suppliers, currencies and users come first, since products refer to them:
          <code>mercato execute reference.sql</code>. Codes are uploaded under <a href=${address(['upload'])}>Upload</a>.
        </li>
        <li>Then <a href=${address(['upload'])}>upload a document of products</a>. A preview tells what is wrong with it, and changes nothing.</li>
        <li>Prices are a document of their own, behind the products.</li>
      </ol>
    </div>`;
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

  private downToRows(event: KeyboardEvent): void {
    if (event.key === 'ArrowDown') {
      event.preventDefault();
      void this.focusRow(0);
    }
  }

  private walk(event: KeyboardEvent): void {
    const row = (event.target as HTMLElement).closest<HTMLElement>('[data-index]');
    const step = { ArrowDown: 1, ArrowUp: -1, PageDown: 15, PageUp: -15 }[event.key];
    if (!row || !step) return;
    event.preventDefault();
    const index = Number(row.dataset['index']) + step;
    if (index < 0) this.querySelector<HTMLInputElement>('#query')?.focus();
    else void this.focusRow(Math.min(index, this.items.length - 1));
  }

  private async focusRow(index: number): Promise<void> {
    this.sight.reveal(index);
    await this.updateComplete;
    this.querySelector<HTMLElement>(`[data-index="${index}"]`)?.focus({ preventScroll: true });
  }
}
