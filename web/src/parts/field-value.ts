// SPDX-License-Identifier: Apache-2.0
// One field of a record, changed in place: Enter saves, Esc leaves it as it was. What is refused stays in the input, with the
// library's reason below it. `write` is given by the view.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import type { Field } from '../fields.js';
import { date, none, number } from '../format.js';
import type { Value } from '../host/records.js';
import { Part, refusal } from './view.js';

@customElement('field-value')
export class FieldValue extends Part {
  @property({ attribute: false }) field!: Field;
  @property({ attribute: false }) value: Value = null;
  @property({ attribute: false }) editable = false;
  @property({ attribute: false }) write!: (field: Field, to: string) => Promise<void>;
  @state() private typed?: string; // while it is being changed
  @state() private failure: unknown;
  @state() private busy = false;

  override render(): TemplateResult {
    if (this.typed !== undefined) return this.form(this.typed);
    const shown = html`<span class=${this.field.kind === 'number' ? 'figure' : ''}>${shownValue(this.field, this.value)}</span>`;
    if (!this.editable) return shown;
    return html`<button class="value" @click=${this.begin}><span class="unseen">Change ${this.field.title}: </span>${shown}</button>`;
  }

  private form(typed: string): TemplateResult {
    const id = `field-${this.field.column}`;
    const before = typedValue(this.field, this.value);
    return html`<form class="change" @submit=${this.save} @keydown=${this.leave}>
      <label class="unseen" for=${id}>${this.field.title}</label>
      ${this.input(id, typed)}
      ${typed === before
        ? nothing
        : html`<p class="hint">${shownText(before)} becomes ${shownText(typed)}</p>`}
      ${refusal(this.failure)}
      <span class="buttons">
        <button class="main" ?disabled=${this.busy || typed === before}>Save</button>
        <button type="button" class="quiet" @click=${this.end}>Leave</button>
      </span>
    </form>`;
  }

  private input(id: string, typed: string): TemplateResult {
    const input = (event: Event) => (this.typed = (event.target as HTMLInputElement).value);
    switch (this.field.kind) {
      case 'long':
        return html`<textarea id=${id} rows="3" .value=${typed} @input=${input}></textarea>`;
      case 'flag':
        return html`<select id=${id} @input=${input}>
          <option value="0" ?selected=${typed !== '1'}>no</option>
          <option value="1" ?selected=${typed === '1'}>yes</option>
        </select>`;
      case 'date':
        return html`<input id=${id} type="date" .value=${typed} @input=${input} />`;
      default: // numbers are judged by the library, which says why
        return html`<input id=${id} autocomplete="off" .value=${typed} @input=${input} />`;
    }
  }

  private async begin(): Promise<void> {
    this.typed = typedValue(this.field, this.value);
    this.failure = undefined;
    await this.focusInput();
  }

  private async focusInput(): Promise<void> {
    await this.updateComplete;
    this.querySelector<HTMLElement>('input, textarea, select')?.focus();
  }

  private async end(): Promise<void> {
    this.typed = undefined;
    await this.updateComplete;
    this.querySelector<HTMLElement>('button.value')?.focus();
  }

  private leave(event: KeyboardEvent): void {
    if (event.key === 'Escape') void this.end();
    if (event.key === 'Enter' && this.field.kind === 'long' && !event.shiftKey) void this.save(event);
  }

  private async save(event: Event): Promise<void> {
    event.preventDefault();
    if (this.busy || this.typed === undefined || this.typed === typedValue(this.field, this.value)) return;
    this.busy = true;
    try {
      await this.write(this.field, this.typed);
      await this.end();
    } catch (failed) {
      this.failure = failed;
      await this.focusInput();
    } finally {
      this.busy = false;
    }
  }
}

export function shownValue(field: Field, value: Value): string {
  if (value === null || value === undefined || value === '') return none;
  if (field.kind === 'flag') return Number(value) === 0 ? 'no' : 'yes';
  if (field.kind === 'date') return date(String(value));
  if (field.kind === 'number' && typeof value === 'number' && field.removed === undefined) return number(value);
  return String(value);
}

export function typedValue(field: Field, value: Value): string {
  if (value === null || value === undefined) return field.kind === 'flag' ? '0' : '';
  return field.kind === 'date' ? String(value).slice(0, 10) : String(value);
}

export function shownText(typed: string): TemplateResult {
  return typed === '' ? html`<i>empty</i>` : html`<q>${typed}</q>`;
}
