// SPDX-License-Identifier: Apache-2.0
import { LitElement, html } from 'lit';
import { customElement } from 'lit/decorators.js';

@customElement('mercato-console')
export class Console extends LitElement {
  override render() {
    return html`<main>Mercato</main>`;
  }
}
