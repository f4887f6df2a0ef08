// SPDX-License-Identifier: Apache-2.0
// The page around the views: who is signed in, where one can go, whether the host is there, and the keys.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { ask, get, host, signIn } from './host/requests.js';
import type { Session } from './host/records.js';
import { Keys, keysDialog } from './keys.js';
import { Part } from './parts/view.js';
import { address, placeOf, stay, type Place } from './place.js';
import './parts/sign-in.js';
import './views/catalogue-view.js';
import './views/classification-view.js';
import './views/find-view.js';
import './views/prices-view.js';
import './views/product-view.js';
import './views/upload-view.js';

const views: [name: string, title: string][] = [
  ['find', 'Find'],
  ['catalogue', 'Catalogue'],
  ['classification', 'Classification'],
  ['prices', 'Prices'],
  ['upload', 'Upload'],
];

@customElement('mercato-console')
export class Console extends Part {
  @state() private place: Place = placeOf(location.hash);
  @state() private session?: Session;
  @state() private started = false;
  @state() private ended = false;
  @state() private away = false;
  @state() private refused = ''; // the token of the address was not taken

  private readonly keys = new Keys(() => this.querySelector<HTMLDialogElement>('dialog.keys')?.showModal());

  override connectedCallback(): void {
    super.connectedCallback();
    // It lives as long as the page, so nothing is ever taken away again.
    window.addEventListener('hashchange', () => this.follow(placeOf(location.hash)));
    document.addEventListener('keydown', this.keys.pressed);
    host.addEventListener('ended', () => (this.ended = this.session !== undefined));
    host.addEventListener('away', () => (this.away = true));
    host.addEventListener('back', () => this.isBack());
    void this.begin();
  }

  override render(): TemplateResult {
    if (!this.started) return html`<main id="main" aria-busy="true">${this.connection()}</main>`;
    if (!this.session)
      return html`<main id="main" class="alone">
        <sign-in .refused=${this.refused} @signed-in=${this.signedIn}></sign-in>
        ${this.connection()}
      </main>`;
    return html`
      <a class="skip" href="#main" @click=${this.skip}>To the content</a>
      ${this.head(this.session)} ${this.connection()}
      <main id="main" tabindex="-1">${this.view(this.session)}</main>
      ${keysDialog()}
      ${this.ended
        ? html`<dialog class="ended" aria-labelledby="ended" @cancel=${(event: Event) => event.preventDefault()}>
            <h2 id="ended">The session has ended</h2>
            <p>What you see stays. Sign in to go on.</p>
            <sign-in .inside=${true} @signed-in=${this.signedIn}></sign-in>
          </dialog>`
        : nothing}
    `;
  }

  protected override updated(): void {
    const ended = this.querySelector<HTMLDialogElement>('dialog.ended');
    if (ended && !ended.open) ended.showModal();
    const heading = this.querySelector('h1')?.textContent?.trim();
    document.title = heading ? `${heading} – Mercato` : 'Mercato';
  }

  // The start of a host without a token file prints an address with a token. It goes into the cookie and out of the address.
  private async begin(): Promise<void> {
    const token = new URLSearchParams(location.hash.slice(1)).get('token');
    try {
      if (token) {
        stay(address(['find']));
        this.session = await signIn(token);
      } else {
        this.session = await get<Session>('api/v1/session');
      }
    } catch (failed) {
      if (this.away) return; // begins again when the host is back
      if (token) this.refused = failed instanceof Error ? failed.message : '';
    }
    this.started = true;
  }

  private isBack(): void {
    this.away = false;
    if (!this.started) void this.begin();
  }

  private signedIn(event: CustomEvent<Session>): void {
    const again = this.ended;
    this.querySelector<HTMLDialogElement>('dialog.ended')?.close(); // gives the focus back
    this.session = event.detail;
    this.ended = false;
    this.refused = '';
    if (again) host.dispatchEvent(new Event('back'));
  }

  private async signOut(): Promise<void> {
    await ask('DELETE', 'api/v1/session').catch(() => undefined);
    this.session = undefined;
  }

  private follow(place: Place): void {
    const other = place.view !== this.place.view || place.parts[0] !== this.place.parts[0];
    this.place = place;
    if (!other) return;
    window.scrollTo(0, 0);
    // Who listens to the page hears where he is; the field of the search takes the focus for itself.
    void this.updateComplete.then(() => {
      if (place.view !== 'find') this.querySelector<HTMLElement>('main')?.focus({ preventScroll: true });
    });
  }

  private skip(event: Event): void {
    event.preventDefault();
    this.querySelector<HTMLElement>('main')?.focus();
  }

  private connection(): TemplateResult {
    return html`<div class="connection" role="status">
      ${this.away ? html`<p>The host does not answer. It is asked again until it does.</p>` : nothing}
    </div>`;
  }

  private head(session: Session): TemplateResult {
    const here = this.place.view === 'product' ? 'find' : this.place.view;
    return html`<header>
      <a class="brand" href=${address(['find'])}>Mercato</a>
      <nav aria-label="Views">
        ${views.filter(([name]) => name !== 'upload' || session.role !== 'reader').map(
          ([name, title]) =>
            html`<a href=${address([name])} aria-current=${name === here ? 'page' : nothing}>${title}</a>`,
        )}
      </nav>
      <div class="who">
        <span title="Name and role of the token">${session.name} <small>${session.role}</small></span>
        <button class="quiet" @click=${() => this.keys.show()} aria-label="Keys">?</button>
        <button class="quiet" @click=${this.signOut}>Sign out</button>
      </div>
    </header>`;
  }

  private view(session: Session): TemplateResult {
    const place = this.place;
    switch (place.view) {
      case 'find':
        return html`<find-view .place=${place} .session=${session}></find-view>`;
      case 'product':
        return html`<product-view .place=${place} .session=${session}></product-view>`;
      case 'catalogue':
        return html`<catalogue-view .place=${place} .session=${session}></catalogue-view>`;
      case 'classification':
        return html`<classification-view .place=${place} .session=${session}></classification-view>`;
      case 'prices':
        return html`<prices-view .place=${place} .session=${session}></prices-view>`;
      case 'upload':
        return html`<upload-view .place=${place} .session=${session}></upload-view>`;
      default:
        return html`<h1>Nothing has this address</h1>
          <p>The views are in the line above; <a href=${address(['find'])}>Find</a> is the first.</p>`;
    }
  }
}
