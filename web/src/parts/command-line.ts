// SPDX-License-Identifier: Apache-2.0
// A command for the reader's own terminal, which a button copies.
import { html, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import { Part } from './view.js';

@customElement('command-line')
export class CommandLine extends Part {
  @property() command = '';
  @state() private said = '';

  override render(): TemplateResult {
    return html`<code>${this.command}</code>
      <button class="quiet" aria-label="Copy ${this.command}" @click=${this.copy}>Copy</button>
      <span class="muted" role="status">${this.said}</span>`;
  }

  // Without TLS, and not on this machine, a browser has no clipboard for pages; then the text is selected for the reader's own keys.
  private async copy(): Promise<void> {
    try {
      await navigator.clipboard.writeText(this.command);
      this.said = 'Copied.';
    } catch {
      getSelection()?.selectAllChildren(this.querySelector('code') as Node);
      this.said = 'Selected: copy it with your keys.';
    }
  }
}
