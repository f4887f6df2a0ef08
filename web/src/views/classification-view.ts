// SPDX-License-Identifier: Apache-2.0
// What products are sorted and described by: codes of UNSPSC, property groups, units.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { count, none } from '../format.js';
import { get } from '../host/requests.js';
import type { Code, List, PropertyGroup, Unit } from '../host/records.js';
import type { Branch, BranchTree } from '../parts/branch-tree.js';
import { View, refusal } from '../parts/view.js';
import { address, stay } from '../place.js';
import '../parts/branch-tree.js';

type CodeBranch = Branch & { code: Code };

const tabs: [name: string, title: string][] = [
  ['unspsc', 'UNSPSC'],
  ['groups', 'Property groups'],
  ['units', 'Units'],
];

const most = 200; // codes that the host tells for one question

const asBranch = (code: Code): CodeBranch => ({ id: code.code, hasChildren: code.hasChildren, code });

@customElement('classification-view')
export class ClassificationView extends View {
  @state() private roots?: CodeBranch[];
  @state() private groups?: PropertyGroup[];
  @state() private units?: Unit[];
  @state() private chosen = '';
  @state() private hits?: Code[];

  private get tab(): string {
    return this.place.parts[0] ?? 'unspsc';
  }

  private get query(): string {
    return this.place.query.get('query') ?? '';
  }

  protected async load(signal: AbortSignal): Promise<void> {
    if (this.tab === 'groups') {
      this.groups = (await get<List<PropertyGroup>>('api/v1/property-groups', {}, signal)).items;
    } else if (this.tab === 'units') {
      this.units = (await get<List<Unit>>('api/v1/units', {}, signal)).items;
    } else {
      this.roots ??= (await get<List<Code>>('api/v1/unspsc', {}, signal)).items.map(asBranch);
      this.hits = undefined;
      const hits = this.query ? await codesOf(this.query, signal) : undefined;
      if (!signal.aborted) this.hits = hits;
    }
  }

  override render(): TemplateResult {
    return html`
      <h1>Classification</h1>
      <nav class="tabs" aria-label="Kinds">
        ${tabs.map(
          ([name, title]) =>
            html`<a href=${address(['classification', name])} aria-current=${name === this.tab ? 'page' : nothing}>${title}</a>`,
        )}
      </nav>
      ${refusal(this.failure)} ${this.tab === 'groups' ? this.groupList() : this.tab === 'units' ? this.unitList() : this.codes()}
    `;
  }

  private codes(): TemplateResult | typeof nothing {
    if (!this.roots) return nothing;
    if (!this.roots.length)
      return html`<div class="empty">
        <h2>There is no code yet</h2>
        <p>A spreadsheet or a document of UNSPSC codes is loaded under <a href=${address(['upload'])}>Upload</a>.</p>
      </div>`;
    return html`
      <form class="asked" role="search" @submit=${(event: Event) => event.preventDefault()}>
        <label class="unseen" for="code">Code or words</label>
        <input
          id="code"
          type="search"
          placeholder="Code or words"
          autocomplete="off"
          spellcheck="false"
          .value=${this.query}
          @input=${(event: Event) => stay(address(['classification', 'unspsc'], { query: (event.target as HTMLInputElement).value }))}
        />
      </form>
      ${this.query ? this.hitList() : nothing}
      <branch-tree
        label="Codes"
        .roots=${this.roots}
        .chosen=${this.chosen}
        .childrenOf=${async ({ id }: CodeBranch) => (await get<List<Code>>('api/v1/unspsc', { parent: id })).items.map(asBranch)}
        .show=${({ code }: CodeBranch) => html`<span class="code muted">${code.code}</span> ${code.description || none}`}
        @chosen=${(event: CustomEvent<CodeBranch>) => (this.chosen = event.detail.id)}
      ></branch-tree>
    `;
  }

  private hitList(): TemplateResult {
    if (!this.hits) return html`<p class="found" role="status">${this.loading ? 'Looking …' : ''}</p>`;
    return html`
      <p class="found" role="status">${this.hits.length < most ? count(this.hits.length, 'code', 'codes') : `The first ${most} codes`}</p>
      <ul class="hits plain">
        ${this.hits.map(
          ({ code, description }) =>
            html`<li>
              <button class="quiet" @click=${() => this.reach(code)}><span class="code muted">${code}</span> ${description || none}</button>
            </li>`,
        )}
      </ul>
    `;
  }

  // A code is that of its parent and two digits more.
  private async reach(code: string): Promise<void> {
    this.chosen = code;
    const path = Array.from({ length: code.length / 2 }, (_, i) => code.slice(0, 2 * i + 2));
    const tree = this.querySelector<BranchTree<CodeBranch>>('branch-tree');
    await tree?.reach(path);
    tree?.querySelector<HTMLElement>('[role=tree]')?.focus({ preventScroll: true });
    tree?.querySelector('.branch.active')?.scrollIntoView({ block: 'nearest' });
  }

  private groupList(): TemplateResult | typeof nothing {
    if (!this.groups) return nothing;
    if (!this.groups.length)
      return html`<div class="empty">
        <h2>There is no property group yet</h2>
        <p><code>mercato group new NAME</code> makes one; a product of a group has the group’s properties.</p>
      </div>`;
    return html`<div class="themes">
      ${this.groups.map(
        ({ PROPERTYGROUPID, PROPERTYGROUPNAME, properties }) => html`<section>
          <h2>${PROPERTYGROUPNAME} <small class="muted">${PROPERTYGROUPID}</small></h2>
          <ul class="plain">
            ${properties.map(
              (one) => html`<li>
                ${one.PROPERTYNAME} ${one.MANDATORY ? html`<b class="mark">mandatory</b>` : nothing}
                ${one.SHOWINPRODUCTSHEET ? html`<small class="muted">in the product sheet</small>` : nothing}
              </li>`,
            )}
          </ul>
          ${properties.length ? nothing : html`<p class="muted">Without properties.</p>`}
        </section>`,
      )}
    </div>`;
  }

  private unitList(): TemplateResult | typeof nothing {
    if (!this.units) return nothing;
    if (!this.units.length)
      return html`<div class="empty">
        <h2>There is no unit yet</h2>
        <p>A script of statements brings them: <code>mercato execute reference.sql</code>.</p>
      </div>`;
    return html`<table class="list narrow">
      <caption class="unseen">Units</caption>
      <thead><tr><th scope="col">Code</th><th scope="col">Description</th></tr></thead>
      <tbody>
        ${this.units.map(({ UNITCODE, UNITDESCRIPTION }) => html`<tr><td class="code">${UNITCODE}</td><td>${UNITDESCRIPTION || none}</td></tr>`)}
      </tbody>
    </table>`;
  }
}

// Digits are the beginning of a code, anything else stands in a description.
async function codesOf(query: string, signal: AbortSignal): Promise<Code[]> {
  const digits = query.trim();
  if (!/^\d+$/.test(digits)) return (await get<List<Code>>('api/v1/unspsc', { query }, signal)).items;
  const parent = digits.slice(0, 2 * Math.floor((digits.length - 1) / 2));
  const { items } = await get<List<Code>>('api/v1/unspsc', { parent }, signal);
  return items.filter(({ code }) => code.startsWith(digits));
}
