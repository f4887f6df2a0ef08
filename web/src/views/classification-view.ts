// SPDX-License-Identifier: Apache-2.0
// What products are sorted and described by: codes of UNSPSC, property groups, units.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { count, none, number } from '../format.js';
import { get } from '../host/requests.js';
import type { Code, List, PropertyGroup, Unit } from '../host/records.js';
import { bar } from '../parts/bars.js';
import type { Branch, BranchTree } from '../parts/branch-tree.js';
import '../parts/command-line.js';
import { downTo } from '../parts/long-list.js';
import { View, refusal } from '../parts/view.js';
import { address, stay } from '../place.js';

type CodeBranch = Branch & { code: Code; most: number }; // products of the branch beside it that has most
type GroupRow = { group: PropertyGroup } | { property: PropertyGroup['properties'][number] };

const tabs: [name: string, title: string][] = [
  ['unspsc', 'UNSPSC'],
  ['groups', 'Property groups'],
  ['units', 'Units'],
];

const most = 200; // codes that the host tells for one question

@customElement('classification-view')
export class ClassificationView extends View {
  @state() private roots?: CodeBranch[];
  @state() private groups?: GroupRow[];
  @state() private units?: Unit[];
  @state() private hits?: Code[];

  private looked = ''; // what the hits were found by

  private get tab(): string {
    return this.place.parts[0] ?? 'unspsc';
  }

  private get query(): string {
    return this.place.query.get('query') ?? '';
  }

  private get code(): string {
    return this.place.query.get('code') ?? '';
  }

  protected async load(signal: AbortSignal): Promise<void> {
    if (this.tab === 'groups') {
      const { items } = await get<List<PropertyGroup>>('api/v1/property-groups', {}, signal);
      this.groups = items.flatMap((group) => [{ group }, ...group.properties.map((property) => ({ property }))]);
    } else if (this.tab === 'units') {
      this.units = (await get<List<Unit>>('api/v1/units', {}, signal)).items;
    } else {
      this.roots ??= await branchesBelow('', signal);
      if (this.query !== this.looked) this.hits = undefined;
      this.looked = this.query;
      this.hits ??= this.query ? await codesOf(this.query, signal) : undefined;
      if (!signal.aborted && this.code) await this.reach(this.code);
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
          @keydown=${downTo(() => this.querySelector('long-list'))}
          @input=${(event: Event) => this.stayAt((event.target as HTMLInputElement).value, this.code)}
        />
      </form>
      ${this.query ? this.hitList() : nothing}
      <branch-tree
        label="Codes"
        .roots=${this.roots}
        .chosen=${this.code}
        .childrenOf=${({ id }: CodeBranch) => branchesBelow(id)}
        .show=${codeRow}
        @chosen=${(event: CustomEvent<CodeBranch>) => this.stayAt(this.query, event.detail.id)}
      ></branch-tree>
    `;
  }

  private stayAt(query: string, code: string): void {
    stay(address(['classification', 'unspsc'], { query, code }));
  }

  private hitList(): TemplateResult {
    if (!this.hits) return html`<p class="found" role="status">${this.loading ? 'Looking …' : ''}</p>`;
    return html`
      <p class="found" role="status">${this.hits.length < most ? count(this.hits.length, 'code', 'codes') : `The first ${most} codes`}</p>
      <long-list
        label="Codes found"
        kind="hit"
        .items=${this.hits}
        .to=${({ code }: Code) => address(['classification', 'unspsc'], { query: this.query, code })}
        .show=${({ code, description }: Code) => html`<span class="code muted">${code}</span><span>${description || none}</span>`}
        @above=${() => this.querySelector<HTMLElement>('#code')?.focus()}
      ></long-list>
    `;
  }

  // A code is that of its parent and two digits more.
  private async reach(code: string): Promise<void> {
    const path = Array.from({ length: code.length / 2 }, (_, i) => code.slice(0, 2 * i + 2));
    await this.updateComplete;
    await this.querySelector<BranchTree<CodeBranch>>('branch-tree')?.reach(path);
  }

  private groupList(): TemplateResult | typeof nothing {
    if (!this.groups) return nothing;
    if (!this.groups.length)
      return html`<div class="empty">
        <h2>There is no property group yet</h2>
        <p>A product of a group has the group’s properties. One is made by <command-line command="mercato group new NAME"></command-line></p>
      </div>`;
    return html`<long-list class="alone" label="Property groups and their properties" kind="member" .items=${this.groups} .show=${groupRow}></long-list>`;
  }

  private unitList(): TemplateResult | typeof nothing {
    if (!this.units) return nothing;
    if (!this.units.length)
      return html`<div class="empty">
        <h2>There is no unit yet</h2>
        <p>A table of codes and descriptions brings them: <command-line command="mercato reference load units units.csv"></command-line></p>
      </div>`;
    return html`<long-list
      class="alone"
      label="Units"
      kind="hit"
      .head=${html`<span>Code</span><span>Description</span>`}
      .items=${this.units}
      .show=${({ UNITCODE, UNITDESCRIPTION }: Unit) => html`<span class="code">${UNITCODE}</span><span>${UNITDESCRIPTION || none}</span>`}
    ></long-list>`;
  }
}

async function branchesBelow(parent: string, signal?: AbortSignal): Promise<CodeBranch[]> {
  const { items } = await get<List<Code>>('api/v1/unspsc', { parent, with: 'products' }, signal);
  const most = Math.max(0, ...items.map(({ products }) => products ?? 0));
  return items.map((code) => ({ id: code.code, hasChildren: code.hasChildren, code, most }));
}

// Bars compare a branch with those beside it.
function codeRow({ code: { code, description, products }, most }: CodeBranch): TemplateResult {
  return html`<span class="code muted">${code}</span> <span class="words">${description || none}</span>
    ${products === undefined
      ? nothing
      : html`<span class="amount ${products ? '' : 'muted'}">${bar(products, most)}<span class="figure">${number(products)}<span class="unseen"> ${products === 1 ? 'product' : 'products'}</span></span></span>`}`;
}

function groupRow(row: GroupRow): TemplateResult {
  if ('group' in row) {
    const { PROPERTYGROUPNAME, PROPERTYGROUPID, properties } = row.group;
    return html`<b>${PROPERTYGROUPNAME}</b>
      <span class="muted">${properties.length ? count(properties.length, 'property', 'properties') : 'Without properties'}, group ${PROPERTYGROUPID}</span>`;
  }
  const { PROPERTYNAME, MANDATORY, SHOWINPRODUCTSHEET } = row.property;
  return html`<span class="inner">${PROPERTYNAME}</span>
    <span>
      ${MANDATORY ? html`<b class="mark">mandatory</b>` : nothing}
      ${SHOWINPRODUCTSHEET ? html`<small class="muted">in the product sheet</small>` : nothing}
    </span>`;
}

// Digits are the beginning of a code, anything else stands in a description.
async function codesOf(query: string, signal: AbortSignal): Promise<Code[]> {
  const digits = query.trim();
  if (!/^\d+$/.test(digits)) return (await get<List<Code>>('api/v1/unspsc', { query }, signal)).items;
  const parent = digits.slice(0, 2 * Math.floor((digits.length - 1) / 2));
  const { items } = await get<List<Code>>('api/v1/unspsc', { parent }, signal);
  return items.filter(({ code }) => code.startsWith(digits));
}
