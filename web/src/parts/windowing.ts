// SPDX-License-Identifier: Apache-2.0
// Long lists: only the rows in sight are in the page, and some above and below. All rows of a list are of one height.
import { nothing, type ReactiveController, type ReactiveControllerHost } from 'lit';
import { Directive, directive, type ElementPart } from 'lit/directive.js';

const spare = 6; // rows above and below

export interface Windowed {
  scroller(): HTMLElement | null; // the element that scrolls
  rowHeight(): number;
}

export class Windowing implements ReactiveController {
  first = 0;
  last = 40; // behind the last row; a guess until the list has been measured
  height = 0; // of a row

  private watched?: HTMLElement;
  private readonly size = new ResizeObserver(() => this.measure());
  private readonly scrolled = () => this.measure();

  constructor(
    private readonly host: ReactiveControllerHost,
    private readonly list: Windowed,
  ) {
    host.addController(this);
  }

  hostUpdated(): void {
    const scroller = this.list.scroller();
    if (scroller === (this.watched ?? null)) return this.measure();
    this.hostDisconnected();
    if (!scroller) return;
    this.watched = scroller;
    scroller.addEventListener('scroll', this.scrolled, { passive: true });
    this.size.observe(scroller);
  }

  hostDisconnected(): void {
    this.watched?.removeEventListener('scroll', this.scrolled);
    this.size.disconnect();
    this.watched = undefined;
  }

  reveal(index: number): void {
    const scroller = this.list.scroller();
    if (!scroller) return;
    const height = this.list.rowHeight();
    const top = index * height;
    if (top < scroller.scrollTop) scroller.scrollTop = top;
    else if (top + height > scroller.scrollTop + scroller.clientHeight) scroller.scrollTop = top + height - scroller.clientHeight;
    this.measure();
  }

  private measure(): void {
    const scroller = this.list.scroller();
    if (!scroller?.isConnected) return;
    const height = this.list.rowHeight();
    const first = Math.max(0, Math.floor(scroller.scrollTop / height) - spare);
    const last = Math.ceil((scroller.scrollTop + scroller.clientHeight) / height) + spare;
    if (first === this.first && last === this.last && height === this.height) return;
    this.first = first;
    this.last = last;
    this.height = height;
    this.host.requestUpdate();
  }
}

// Sets properties of an element's style. The page's policy refuses the attribute `style`, but not this.
class Styled extends Directive {
  override update(part: ElementPart, [properties]: [Partial<CSSStyleDeclaration>]): typeof nothing {
    Object.assign((part.element as HTMLElement).style, properties);
    return nothing;
  }

  render(_properties: Partial<CSSStyleDeclaration>): typeof nothing {
    return nothing;
  }
}

export const styled = directive(Styled);
