// SPDX-License-Identifier: Apache-2.0
// Asks for a token once. The host answers with a cookie that no script can read; the token itself is kept nowhere here.
import { html, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import { signIn } from '../host/requests.js';
import { Part, refusal } from './view.js';

@customElement('sign-in')
export class SignIn extends Part {
  @property() refused = '';
  @property({ attribute: false }) inside = false; // a dialog has a heading of its own
  @state() private failure: unknown;
  @state() private busy = false;

  override render(): TemplateResult {
    return html`<form class="sign-in" @submit=${this.submit}>
      ${this.inside ? '' : html`<h1>Mercato</h1>`}
      <label for="token">Token</label>
      <input id="token" name="token" type="password" autocomplete="current-password" required />
      <p class="hint">Made by <code>mercato token new</code>, or printed by <code>mercato serve</code> at its start.</p>
      ${refusal(this.failure ?? (this.refused ? new Error(this.refused) : undefined))}
      <button class="main" ?disabled=${this.busy}>Sign in</button>
    </form>`;
  }

  // `autofocus` works once in the life of a page.
  protected override firstUpdated(): void {
    this.querySelector('input')?.focus();
  }

  private async submit(event: Event): Promise<void> {
    event.preventDefault();
    const token = String(new FormData(event.target as HTMLFormElement).get('token')).trim();
    this.busy = true;
    try {
      this.dispatchEvent(new CustomEvent('signed-in', { detail: await signIn(token) }));
    } catch (failed) {
      this.failure = failed;
    } finally {
      this.busy = false;
    }
  }
}
