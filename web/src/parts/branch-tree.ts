// SPDX-License-Identifier: Apache-2.0
// A tree that is fetched a level at a time and of which only the rows in sight are in the page. The tree itself has the focus, and
// tells which row is the active one: so keys work however far the row is, and whether it was in the page before or not.
import { html, nothing, type PropertyValues, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import { repeat } from 'lit/directives/repeat.js';
import { Part, refusal } from './view.js';
import { Windowing, styled } from './windowing.js';

export interface Branch {
  id: string;
  hasChildren: boolean;
}

interface Row<T> {
  branch: T;
  level: number;
  place: number; // among its siblings, from 1
  siblings: number;
}

const height = 28;

@customElement('branch-tree')
export class BranchTree<T extends Branch> extends Part {
  @property() label = '';
  @property({ attribute: false }) roots: T[] = [];
  @property({ attribute: false }) chosen = '';
  @property({ attribute: false }) childrenOf!: (branch: T) => Promise<T[]>;
  @property({ attribute: false }) show!: (branch: T) => TemplateResult;
  @state() private below = new Map<string, T[]>(); // of the branches that are open, or were
  @state() private open = new Set<string>();
  @state() private active = '';
  @state() private failure: unknown;

  private rows: Row<T>[] = [];
  private readonly sight = new Windowing(this, {
    scroller: () => this.querySelector('[role=tree]'),
    rowHeight: () => height,
  });

  protected override willUpdate(changed: PropertyValues): void {
    if (changed.has('roots')) {
      this.below = new Map();
      this.open = new Set();
      this.failure = undefined;
    }
    if (changed.has('chosen') && this.chosen) this.active = this.chosen;
    this.rows = [];
    this.lay(this.roots, 1);
    if (!this.rows.some(({ branch }) => branch.id === this.active)) this.active = this.rows[0]?.branch.id ?? '';
  }

  override render(): TemplateResult {
    const shown = this.rows.slice(this.sight.first, this.sight.last);
    const active = this.rows.findIndex(({ branch }) => branch.id === this.active);
    const present = active >= this.sight.first && active < this.sight.last;
    return html`
      ${refusal(this.failure)}
      <div
        class="tree"
        role="tree"
        tabindex="0"
        aria-label=${this.label}
        aria-activedescendant=${present ? rowId(this.active) : nothing}
        @keydown=${this.pressed}
      >
        <div class="space" role="presentation" ${styled({ height: `${this.rows.length * height}px` })}>
          ${repeat(
            shown,
            ({ branch }) => branch.id,
            (row, i) => this.row(row, this.sight.first + i),
          )}
        </div>
      </div>
    `;
  }

  private row({ branch, level, place, siblings }: Row<T>, index: number): TemplateResult {
    const isOpen = this.open.has(branch.id);
    return html`<div
      class="branch ${branch.id === this.active ? 'active' : ''}"
      role="treeitem"
      id=${rowId(branch.id)}
      aria-level=${level}
      aria-posinset=${place}
      aria-setsize=${siblings}
      aria-expanded=${branch.hasChildren ? isOpen : nothing}
      aria-selected=${branch.id === this.chosen}
      ${styled({ top: `${index * height}px`, paddingInlineStart: `${(level - 1) * 18 + 4}px` })}
      @click=${() => this.choose(branch)}
    >
      <span class="twig" aria-hidden="true" @click=${(event: Event) => this.toggled(event, branch)}
        >${branch.hasChildren ? (isOpen ? '▾' : '▸') : ''}</span
      >
      ${this.show(branch)}
    </div>`;
  }

  // Opens the branches of a path, from a root to a branch that is chosen then.
  async reach(path: string[]): Promise<void> {
    for (const id of path.slice(0, -1)) {
      await this.updateComplete;
      const row = this.rows.find(({ branch }) => branch.id === id);
      if (!row) return;
      await this.spread(row.branch);
    }
    await this.updateComplete;
    const reached = this.rows.findIndex(({ branch }) => branch.id === path.at(-1));
    if (reached >= 0) await this.activate(reached);
  }

  private lay(branches: T[], level: number): void {
    branches.forEach((branch, i) => {
      this.rows.push({ branch, level, place: i + 1, siblings: branches.length });
      if (this.open.has(branch.id)) this.lay(this.below.get(branch.id) ?? [], level + 1);
    });
  }

  private async spread(branch: T): Promise<void> {
    if (!branch.hasChildren) return;
    try {
      const children = this.below.get(branch.id) ?? (await this.childrenOf(branch));
      this.below.set(branch.id, children);
      this.open = new Set(this.open).add(branch.id);
      this.failure = undefined;
    } catch (failed) {
      this.failure = failed;
    }
  }

  private fold(branch: T): void {
    this.open = new Set([...this.open].filter((id) => id !== branch.id));
  }

  private toggled(event: Event, branch: T): void {
    event.stopPropagation();
    this.active = branch.id;
    if (this.open.has(branch.id)) this.fold(branch);
    else void this.spread(branch);
  }

  private choose(branch: T): void {
    this.active = branch.id;
    this.dispatchEvent(new CustomEvent('chosen', { detail: branch }));
  }

  private async activate(index: number): Promise<void> {
    const row = this.rows[Math.max(0, Math.min(index, this.rows.length - 1))];
    if (!row) return;
    this.active = row.branch.id;
    this.sight.reveal(this.rows.indexOf(row));
    await this.updateComplete;
  }

  private pressed(event: KeyboardEvent): void {
    const index = this.rows.findIndex(({ branch }) => branch.id === this.active);
    const row = this.rows[index];
    if (!row || event.ctrlKey || event.metaKey || event.altKey) return;
    const { branch, level } = row;
    const isOpen = this.open.has(branch.id);
    const page = Math.max(1, Math.floor((this.querySelector('.tree')?.clientHeight ?? height) / height) - 1);
    switch (event.key) {
      case 'ArrowDown':
        void this.activate(index + 1);
        break;
      case 'ArrowUp':
        void this.activate(index - 1);
        break;
      case 'PageDown':
        void this.activate(index + page);
        break;
      case 'PageUp':
        void this.activate(index - page);
        break;
      case 'Home':
        void this.activate(0);
        break;
      case 'End':
        void this.activate(this.rows.length - 1);
        break;
      case 'ArrowRight':
        if (isOpen) void this.activate(index + 1);
        else void this.spread(branch);
        break;
      case 'ArrowLeft':
        if (isOpen) this.fold(branch);
        else void this.activate(this.rows.findLastIndex((above, i) => i < index && above.level < level));
        break;
      case 'Enter':
      case ' ':
        this.choose(branch);
        break;
      default:
        return;
    }
    event.preventDefault();
  }
}

function rowId(id: string): string {
  return `branch-${id}`;
}
