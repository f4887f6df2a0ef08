// SPDX-License-Identifier: Apache-2.0
// What products are sorted and described by: codes of UNSPSC, property groups, units.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { count, none } from '../format.js';
import { get, invoke } from '../host/requests.js';
import type { Code, List, PropertyGroup, Unit } from '../host/records.js';
import type { Branch, BranchTree } from '../parts/branch-tree.js';
import { View, refusal } from '../parts/view.js';
import { address, stay } from '../place.js';
import '../parts/branch-tree.js';

type CodeBranch = Branch & { code: Code };

interface Found {
  code: string;
  description: string;
}

const tabs: [name: string, title: string][] = [
  ['unspsc', 'UNSPSC'],
  ['groups', 'Property groups'],
  ['units', 'Units'],
];

const shownHits = 100;

const asBranch = (code: Code): CodeBranch => ({ id: code.code, hasChildren: code.children, code });

@customElement('classification-view')
export class ClassificationView extends View {
  @state() private roots?: CodeBranch[];
  @state() private groups?: PropertyGroup[];
  @state() private units?: Unit[];
  @state() private chosen = '';
  @state() private all?: Found[]; // every code, fetched with the first word that is looked for

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
      if (this.query) this.all ??= await allCodes();
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
      ${this.query ? this.hits() : nothing}
      <branch-tree
        label="Codes"
        .roots=${this.roots}
        .chosen=${this.chosen}
        .childrenOf=${async ({ id }: CodeBranch) => (await get<List<Code>>('api/v1/unspsc', { parent: id })).items.map(asBranch)}
        .show=${({ code }: CodeBranch) => html`<span class="code muted">${code.code}</span> ${code.description ?? none}`}
        @chosen=${(event: CustomEvent<CodeBranch>) => (this.chosen = event.detail.id)}
      ></branch-tree>
    `;
  }

  private hits(): TemplateResult {
    if (!this.all) return html`<p class="found" role="status">Looking …</p>`;
    const words = this.query.toLocaleLowerCase().split(/\s+/).filter(Boolean);
    const hits = this.all.filter(({ code, description }) => {
      const text = description.toLocaleLowerCase();
      return words.every((word) => code.startsWith(word) || text.includes(word));
    });
    return html`
      <p class="found" role="status">${count(hits.length, 'code', 'codes')}${hits.length > shownHits ? `; the first ${shownHits}` : ''}</p>
      <ul class="hits plain">
        ${hits.slice(0, shownHits).map(
          ({ code, description }) =>
            html`<li>
              <button class="quiet" @click=${() => this.reach(code)}><span class="code muted">${code}</span> ${description}</button>
            </li>`,
        )}
      </ul>
    `;
  }

  // A code begins with that of its parent.
  private async reach(code: string): Promise<void> {
    this.chosen = code;
    const known = new Set(this.all?.map((one) => one.code));
    const path = [...Array(code.length).keys()].map((i) => code.slice(0, i + 1)).filter((one) => known.has(one));
    const tree = this.querySelector<BranchTree<CodeBranch>>('branch-tree');
    await tree?.reach(path);
    tree?.querySelector<HTMLElement>('[role=tree]')?.focus();
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
        ({ id, name, properties }) => html`<section>
          <h2>${name} <small class="muted">${id}</small></h2>
          <ul class="plain">
            ${properties.map(
              (one) => html`<li>
                ${one.name} ${one.mandatory ? html`<b class="mark">mandatory</b>` : nothing}
                ${one.shown ? html`<small class="muted">in the product sheet</small>` : nothing}
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
        ${this.units.map(({ code, description }) => html`<tr><td class="code">${code}</td><td>${description ?? none}</td></tr>`)}
      </tbody>
    </table>`;
  }
}

// The library tells the codes of a level as a dictionary, in one call. The level behind the last has none.
async function allCodes(): Promise<Found[]> {
  const found: Found[] = [];
  for (let level = 1; ; ++level) {
    const { items } = (await invoke('Mercato.UNSPSC', 'GetAllUNSPSCCodes', [level, ''])) as { items: [string, string | null][] };
    if (!items.length) return found.sort((a, b) => (a.code < b.code ? -1 : 1));
    found.push(...items.map(([code, description]) => ({ code, description: description ?? '' })));
  }
}
