// SPDX-License-Identifier: Apache-2.0
// A catalogue as a tree, and for a user what he sees and may order of it, and why.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { get } from '../host/requests.js';
import type { Catalogue, CatalogueNode, Explained, List } from '../host/records.js';
import type { Branch } from '../parts/branch-tree.js';
import { View, refusal } from '../parts/view.js';
import { address, stay } from '../place.js';
import '../parts/branch-tree.js';
import '../parts/command-line.js';

type NodeBranch = Branch & { node: CatalogueNode };

const sights: Record<Explained['sight'], string> = {
  laidOut: 'yes, the node is laid out for the user',
  wholeCatalog: 'yes, the user has the whole catalogue',
  nowhere: 'no, it is not laid out, and the user has not the whole catalogue',
};
const places = { catalog: 'Catalogue', node: 'Node', ancestor: 'Above it' };
const entries = { none: '–', order: 'may order', viewOnly: 'view only' };

const asBranch = (node: CatalogueNode): NodeBranch => ({ id: String(node.id), hasChildren: node.children, node });

@customElement('catalogue-view')
export class CatalogueView extends View {
  @state() private catalogues?: Catalogue[];
  @state() private roots: NodeBranch[] = [];
  @state() private chosen?: CatalogueNode;
  @state() private explained?: Explained;
  @state() private whyNot: unknown;

  private shown = ''; // catalogue and user of the tree in the page

  private get user(): string {
    return this.session.user ?? this.place.query.get('user') ?? '';
  }

  protected async load(signal: AbortSignal): Promise<void> {
    this.catalogues ??= (await get<List<Catalogue>>('api/v1/catalogs', {}, signal)).items;
    const id = this.place.parts[0] ?? this.catalogues[0]?.id;
    if (id === undefined || signal.aborted) return;
    const shown = `${id} ${this.user}`;
    if (shown !== this.shown || this.failure) {
      this.chosen = this.explained = undefined;
      const { items } = await this.nodesBelow(undefined, signal);
      if (signal.aborted) return;
      this.roots = items.map(asBranch);
      this.shown = shown;
    }
  }

  override render(): TemplateResult {
    const id = String(this.place.parts[0] ?? this.catalogues?.[0]?.id ?? '');
    const catalogue = this.catalogues?.find((one) => String(one.id) === id);
    return html`
      <div class="title">
        <div>
          <h1>${catalogue?.name ?? 'Catalogue'}</h1>
          ${catalogue
            ? html`<p class="muted">
                ${catalogue.active ? nothing : html`<b class="mark">not active</b> `}${catalogue.description}
              </p>`
            : nothing}
        </div>
      </div>
      ${refusal(this.failure)}
      ${this.catalogues?.length === 0
        ? html`<div class="empty">
            <h2>There is no catalogue yet</h2>
            <p>A tree from a file becomes one: <command-line command="mercato catalog load NAME FILE"></command-line></p>
          </div>`
        : this.catalogues
          ? this.tree(id)
          : nothing}
    `;
  }

  private tree(id: string): TemplateResult {
    return html`
      <form class="asked" @submit=${this.asked} @change=${this.asked}>
        <label>
          Catalogue
          <select name="catalogue">
            ${this.catalogues?.map((one) => html`<option value=${one.id} ?selected=${String(one.id) === id}>${one.name}</option>`)}
          </select>
        </label>
        ${this.session.user === null
          ? html`<label>
              As user
              <input name="user" autocomplete="off" spellcheck="false" .value=${this.user} placeholder="a user’s id" />
            </label>`
          : nothing}
        ${this.user ? html`<p class="hint">● sees and orders, ○ view only, ✕ does not see</p>` : nothing}
      </form>
      <div class="beside">
        <branch-tree
          .label=${this.user ? `Nodes, with the rights of ${this.user}` : 'Nodes'}
          .roots=${this.roots}
          .chosen=${this.chosen ? String(this.chosen.id) : ''}
          .childrenOf=${async ({ node }: NodeBranch) => (await this.nodesBelow(node.id)).items.map(asBranch)}
          .show=${({ node }: NodeBranch) => this.node(node)}
          @chosen=${(event: CustomEvent<NodeBranch>) => this.choose(event.detail.node)}
        ></branch-tree>
        <section class="detail" aria-live="polite">${this.chosen ? this.detail(this.chosen) : html`<p class="muted">Choose a node to see what hangs there${this.user ? ' and why he may what he may' : ''}.</p>`}</section>
      </div>
    `;
  }

  private node(node: CatalogueNode): TemplateResult {
    return html`${this.user ? right(node) : nothing}<span class=${node.sees === false ? 'muted' : ''}>${node.name}</span>`;
  }

  private detail(node: CatalogueNode): TemplateResult {
    return html`
      <h2>${node.name}</h2>
      <p class="muted">Node ${node.id}</p>
      ${node.category === null
        ? html`<p class="muted">No category hangs here, so it has no products of its own.</p>`
        : html`<p><a href=${address(['find'], { category: node.category, user: this.session.user === null ? this.user : '' })}>Products of this node</a></p>`}
      ${refusal(this.whyNot)} ${this.user && this.explained ? this.why(this.explained) : nothing}
    `;
  }

  private why({ sight, steps, endless, orders, viewOnly }: Explained): TemplateResult {
    const decides = steps.some((step) => step.decides);
    const says = (yes: boolean) => (yes ? 'yes, by the entry that decides' : decides ? 'no, by the entry that decides' : 'no, since no entry says so');
    return html`
      <h3>Why, for ${this.user}</h3>
      <dl>
        <div><dt>Sees</dt><dd>${sights[sight]}</dd></div>
        <div><dt>Orders</dt><dd>${says(orders)}</dd></div>
        <div><dt>View only</dt><dd>${says(viewOnly)}</dd></div>
      </dl>
      ${endless ? refusal(new Error('The nodes above go in a circle, so the library would ask until its time is up.')) : nothing}
      <div class="wide" tabindex="0" role="region" aria-label="What was looked at">
        <table class="list">
          <thead>
            <tr><th scope="col">Looked at</th><th scope="col">Entry</th><th scope="col"><span class="unseen">Decides</span></th></tr>
          </thead>
          <tbody>
            ${steps.map(
              ({ place, id, name, entry, decides }) => html`<tr>
                <td><span class="muted">${places[place]}</span> ${name || id}</td>
                <td>${entries[entry]}</td>
                <td>${decides ? html`<b class="mark">decides</b>` : nothing}</td>
              </tr>`,
            )}
          </tbody>
        </table>
      </div>
    `;
  }

  private nodesBelow(parent: number | undefined, signal?: AbortSignal): Promise<List<CatalogueNode>> {
    const id = this.place.parts[0] ?? this.catalogues?.[0]?.id ?? '';
    return get(`api/v1/catalogs/${encodeURIComponent(id)}/nodes`, { parent, user: this.user }, signal);
  }

  private asked(event: Event): void {
    event.preventDefault();
    const given = new FormData(event.currentTarget as HTMLFormElement);
    stay(address(['catalogue', String(given.get('catalogue'))], { user: String(given.get('user') ?? '') }));
  }

  private async choose(node: CatalogueNode): Promise<void> {
    this.chosen = node;
    this.explained = this.whyNot = undefined;
    if (!this.user) return;
    try {
      const explained = await get<Explained>('api/v1/rights/explain', { user: this.user, node: node.id });
      if (this.chosen === node) this.explained = explained;
    } catch (failed) {
      if (this.chosen === node) this.whyNot = failed;
    }
  }
}

function right({ sees, orders, viewOnly }: CatalogueNode): TemplateResult {
  const [sign, words] = !sees ? ['✕', 'does not see'] : orders && !viewOnly ? ['●', 'sees and orders'] : ['○', viewOnly ? 'view only' : 'sees, orders nothing'];
  return html`<span class="right ${sees ? (orders && !viewOnly ? 'orders' : 'views') : 'hidden-from'}" title=${words}
    ><span aria-hidden="true">${sign}</span><span class="unseen">${words}:</span></span
  >`;
}
