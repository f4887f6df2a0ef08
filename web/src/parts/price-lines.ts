// SPDX-License-Identifier: Apache-2.0
// The price lines of a product, which a keeper adds, changes, ends and deletes. A dialog says what is about to change, and why the
// library refuses it. `write` is given by the view, which keeps the way back.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import { priceFields, type Field } from '../fields.js';
import { date, endless, isEndless, money, today, upTo } from '../format.js';
import type { PriceLine, Value } from '../host/records.js';
import { shownText, typedValue } from './field-value.js';
import { priceTable } from './price-table.js';
import { Part, refusal } from './view.js';

export type WritePriceLine = (before: PriceLine | null, after: PriceLine | null) => Promise<void>;
type Typed = Record<string, string>; // by column

@customElement('price-lines')
export class PriceLines extends Part {
  @property({ attribute: false }) lines: PriceLine[] = [];
  @property({ attribute: false }) editable = false;
  @property({ attribute: false }) write!: WritePriceLine;
  @state() private line: PriceLine | null = null; // that is changed; null: one that is added
  @state() private typed: Typed = {};
  @state() private failure: unknown;
  @state() private busy = false;

  override render(): TemplateResult {
    if (!this.editable) return html`${this.lines.length ? priceTable(this.lines, 'Price lines') : nothing}`;
    return html`
      ${this.lines.length
        ? priceTable(
            this.lines,
            'Price lines',
            (line) => html`<button class="quiet" @click=${() => this.begin(line)}>Change<span class="unseen"> the line ${nameOf(line)}</span></button>`,
          )
        : nothing}
      <p><button class="add" @click=${() => this.begin(null)}>Add a price line</button></p>
      ${this.dialog()}
    `;
  }

  private dialog(): TemplateResult {
    const { line } = this;
    const changes = this.changes();
    return html`<dialog class="price-line" aria-labelledby="price-line">
      <form @submit=${(event: Event) => this.submit(event)}>
        <h2 id="price-line">${line ? `Price line ${nameOf(line)}` : 'A new price line'}</h2>
        <div class="columns">${priceFields.map((field) => this.input(field))}</div>
        <div class="about" aria-live="polite">
          ${!line
            ? html`<p class="hint">The line is added to the others.</p>`
            : changes.length
              ? html`<ul class="hint plain">
                  ${changes.map(([{ title }, from, to]) => html`<li>${title}: ${shownText(from)} becomes ${shownText(to)}</li>`)}
                </ul>`
              : html`<p class="hint">Nothing is changed yet.</p>`}
          ${refusal(this.failure)}
        </div>
        <div class="buttons">
          <button class="main" ?disabled=${this.busy || (line !== null && !changes.length)}>${line ? 'Save' : 'Add'}</button>
          ${line && holdsLater(line)
            ? html`<button type="button" ?disabled=${this.busy} @click=${() => this.put({ ...line, PRICEEXPIRYDATE: today() })}>
                End on ${date(today())}
              </button>`
            : nothing}
          ${line ? html`<button type="button" ?disabled=${this.busy} @click=${() => this.put(null)}>Delete the line</button>` : nothing}
          <button type="button" class="quiet" @click=${this.close}>Leave</button>
        </div>
      </form>
    </dialog>`;
  }

  private input({ column, title, kind }: Field): TemplateResult {
    const id = `price-${column}`;
    const type = kind === 'text' ? 'text' : kind;
    return html`<div>
      <label for=${id}>${title}</label>
      <input
        id=${id}
        type=${type}
        step="any"
        autocomplete="off"
        spellcheck="false"
        ?required=${['PRICE', 'CURRENCYCODE', 'PRICEEFFECTIVEDATE'].includes(column)}
        placeholder=${column === 'QUANTITYTO' ? 'any' : ''}
        .value=${this.typed[column] ?? ''}
        @input=${(event: Event) => (this.typed = { ...this.typed, [column]: (event.target as HTMLInputElement).value })}
      />
    </div>`;
  }

  private begin(line: PriceLine | null): void {
    this.line = line;
    this.typed = line ? typedOf(line) : { PRICEEFFECTIVEDATE: today(), CURRENCYCODE: this.lines[0]?.CURRENCYCODE ?? '' };
    this.failure = undefined;
    void this.updateComplete.then(() => this.querySelector('dialog')?.showModal());
  }

  // The focus goes back to where it was, if that is still there.
  private async close(): Promise<void> {
    this.querySelector('dialog')?.close();
    await this.updateComplete;
    if (document.activeElement === document.body) this.querySelector<HTMLElement>('button.add')?.focus();
  }

  private changes(): [Field, string, string][] {
    const before = this.line ? typedOf(this.line) : {};
    return priceFields
      .map((field): [Field, string, string] => [field, before[field.column] ?? '', this.typed[field.column] ?? ''])
      .filter(([, from, to]) => from !== to);
  }

  private submit(event: Event): void {
    event.preventDefault();
    void this.put(lineOf(this.typed, this.line));
  }

  private async put(after: PriceLine | null): Promise<void> {
    if (this.busy) return;
    this.busy = true;
    try {
      await this.write(this.line, after);
      await this.close();
    } catch (failed) {
      this.failure = failed;
    } finally {
      this.busy = false;
    }
  }
}

export function nameOf(line: PriceLine): string {
  const quantity = isEndless(line.QUANTITYTO) ? 'for any quantity' : `up to ${upTo(line.QUANTITYTO)}`;
  const group = line.GROUPBY ? `, group ${line.GROUPBY}` : '';
  return `of ${money(line.PRICE ?? 0, line.CURRENCYCODE)} ${quantity}${group}, from ${date(line.PRICEEFFECTIVEDATE)}`;
}

// What changed from one line to the other, in words.
export function changesBetween(before: PriceLine, after: PriceLine): string {
  const [from, to] = [typedOf(before), typedOf(after)];
  return priceFields
    .filter(({ column }) => from[column] !== to[column])
    .map(({ column, title }) => `${title} was ${from[column] || 'empty'}, and is ${to[column] || 'empty'}`)
    .join('; ');
}

function typedOf(line: PriceLine): Typed {
  return Object.fromEntries(
    priceFields.map((field) => {
      const value = line[field.column as keyof PriceLine] as Value;
      return [field.column, field.column === 'QUANTITYTO' && isEndless(value as number | null) ? '' : typedValue(field, value)];
    }),
  );
}

// What is typed, as a line. One without a group stays of the kind that it was: with the empty text, or without any.
function lineOf(typed: Typed, before: PriceLine | null): PriceLine {
  const value = ({ column, kind }: Field): Value => {
    const text = typed[column] ?? '';
    if (text !== '') return kind === 'number' ? Number(text) : text;
    if (column === 'QUANTITYTO') return before && isEndless(before.QUANTITYTO) ? before.QUANTITYTO : endless;
    return column === 'GROUPBY' && before?.GROUPBY === '' ? '' : null;
  };
  return { ...before, ...Object.fromEntries(priceFields.map((field) => [field.column, value(field)])) } as PriceLine;
}

function holdsLater({ PRICEEFFECTIVEDATE, PRICEEXPIRYDATE }: PriceLine): boolean {
  return PRICEEFFECTIVEDATE.slice(0, 10) <= today() && (PRICEEXPIRYDATE === null || PRICEEXPIRYDATE.slice(0, 10) > today());
}
