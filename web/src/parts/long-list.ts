// SPDX-License-Identifier: Apache-2.0
// A list of which only the rows in sight are in the page. All rows are of one height, which the style sheet sets (`--row`). Rows that
// lead somewhere are links, and arrows go through them. Tells `near-end` when more rows are wanted, and `above` when one goes up from
// the first.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import { repeat } from 'lit/directives/repeat.js';
import { Part } from './view.js';
import { Windowing, styled } from './windowing.js';

const fewLeft = 20; // rows behind those in sight

@customElement('long-list')
export class LongList<T> extends Part {
  @property({ attribute: false }) items: T[] = [];
  @property({ attribute: false }) all?: number; // -1 when nobody knows
  @property() label = '';
  @property({ reflect: true }) kind = ''; // the class of its rows
  @property({ attribute: false }) head: TemplateResult | typeof nothing = nothing;
  @property({ attribute: false }) show!: (item: T) => TemplateResult;
  @property({ attribute: false }) to?: (item: T) => string; // where a row leads
  @state() private held?: number; // the row with the focus, which stays in the page however far it is

  private readonly sight = new Windowing(this, {
    scroller: () => this.querySelector('.rows'),
    rowHeight: () => parseFloat(getComputedStyle(this).getPropertyValue('--row')),
  });

  async focusRow(index: number): Promise<void> {
    this.sight.reveal(index);
    await this.updateComplete;
    this.querySelector<HTMLElement>(`[data-index="${index}"]`)?.focus({ preventScroll: true });
  }

  override render(): TemplateResult {
    const { first, last, height } = this.sight;
    const shown = this.items.slice(first, last).map((_, i) => first + i);
    const { held } = this;
    if (held !== undefined && held < this.items.length && !shown.includes(held)) shown.push(held);
    return html`
      ${this.head === nothing ? nothing : html`<div class="row head ${this.kind}" aria-hidden="true">${this.head}</div>`}
      <div
        class="rows"
        role="group"
        aria-label=${this.label}
        tabindex=${this.to ? -1 : 0}
        @keydown=${this.walk}
        @focusin=${this.hold}
        @focusout=${() => (this.held = undefined)}
      >
        <ul ${styled({ height: `${this.items.length * height}px` })}>
          ${repeat(
            shown,
            (index) => index,
            (index) => this.row(this.items[index] as T, index),
          )}
        </ul>
      </div>
    `;
  }

  protected override updated(): void {
    if (this.sight.last > this.items.length - fewLeft) this.dispatchEvent(new Event('near-end'));
  }

  private row(item: T, index: number): TemplateResult {
    const { height } = this.sight;
    const place = styled({ top: `${index * height}px`, height: `${height}px` });
    return html`<li aria-posinset=${index + 1} aria-setsize=${this.all ?? this.items.length} ${place}>
      ${this.to
        ? html`<a class="row ${this.kind}" href=${this.to(item)} data-index=${index}>${this.show(item)}</a>`
        : html`<div class="row ${this.kind}">${this.show(item)}</div>`}
    </li>`;
  }

  private hold(event: FocusEvent): void {
    this.held = indexOf(event.target);
  }

  private walk(event: KeyboardEvent): void {
    const index = indexOf(event.target);
    if (index === undefined || event.ctrlKey || event.metaKey || event.altKey) return;
    const last = this.items.length - 1;
    const page = Math.max(1, this.sight.last - this.sight.first - 14);
    const places: Record<string, number> = {
      ArrowDown: index + 1,
      ArrowUp: index - 1,
      PageDown: index + page,
      PageUp: Math.max(0, index - page),
      Home: 0,
      End: last,
    };
    const to = places[event.key];
    if (to === undefined) return;
    event.preventDefault();
    if (to < 0) this.dispatchEvent(new Event('above'));
    else void this.focusRow(Math.min(to, last));
  }
}

function indexOf(target: EventTarget | null): number | undefined {
  const row = (target as HTMLElement).closest<HTMLElement>('[data-index]');
  return row ? Number(row.dataset['index']) : undefined;
}

// For the field above a list: the arrow leads to its first row.
export function downTo(list: () => LongList<unknown> | null): (event: KeyboardEvent) => void {
  return (event) => {
    if (event.key !== 'ArrowDown') return;
    event.preventDefault();
    void list()?.focusRow(0);
  };
}
