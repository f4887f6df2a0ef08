// SPDX-License-Identifier: Apache-2.0
// What all views do alike: they load when their place changes and when the host is back, drop what they no longer wait for, and
// show what went wrong where it happened. Everything is in the page's own tree, so one style sheet and one set of labels serve all.
import { LitElement, html, nothing, type PropertyValues, type TemplateResult } from 'lit';
import { property, state } from 'lit/decorators.js';
import { Away, host } from '../host/requests.js';
import type { Session } from '../host/records.js';
import { placeOf, type Place } from '../place.js';

export abstract class Part extends LitElement {
  protected override createRenderRoot(): HTMLElement {
    return this;
  }
}

export abstract class View extends Part {
  @property({ attribute: false }) place: Place = placeOf('');
  @property({ attribute: false }) session!: Session;
  @state() protected failure: unknown;
  @state() protected loading = false;

  private pending?: AbortController;
  private hadFocus = false;
  private readonly reload = () => void this.asking();

  protected abstract load(signal: AbortSignal): Promise<void>;

  protected get mayChange(): boolean {
    return this.session.role !== 'reader';
  }

  override connectedCallback(): void {
    super.connectedCallback();
    host.addEventListener('back', this.reload);
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    host.removeEventListener('back', this.reload);
    this.pending?.abort();
  }

  protected override willUpdate(changed: PropertyValues<this>): void {
    if (changed.has('place')) void this.asking();
    this.hadFocus = this.contains(document.activeElement);
  }

  // What had the focus may be gone. The next key goes on in this view then, and not at the head of the page.
  protected override updated(_changed: PropertyValues<this>): void {
    if (this.hadFocus && document.activeElement === document.body) this.closest('main')?.focus({ preventScroll: true });
  }

  protected async asking(): Promise<void> {
    this.pending?.abort();
    const pending = (this.pending = new AbortController());
    this.loading = true;
    try {
      await this.load(pending.signal);
      if (!pending.signal.aborted) this.failure = undefined;
    } catch (failed) {
      if (!pending.signal.aborted) this.failure = failed;
    } finally {
      if (!pending.signal.aborted) this.loading = false;
    }
  }
}

// The host being away is told once, at the head of the page.
export function refusal(failure: unknown): TemplateResult | typeof nothing {
  if (!failure || failure instanceof Away) return nothing;
  return html`<p class="refusal" role="alert">${failure instanceof Error ? failure.message : String(failure)}</p>`;
}
