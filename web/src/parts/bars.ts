// SPDX-License-Identifier: Apache-2.0
// Pictures of counts. The words and the number stand beside each bar, so the picture itself is silent.
import { html, svg, type TemplateResult } from 'lit';
import { number } from '../format.js';

export interface Bar {
  label: string;
  n: number;
  below: Bar[]; // what the number is made of
}

export function bar(n: number, most: number): TemplateResult {
  return html`<svg class="bar" viewBox="0 0 100 8" preserveAspectRatio="none" aria-hidden="true">
    <rect width=${(100 * n) / (most || 1)} height="8" />
  </svg>`;
}

export function bars(all: Bar[]): TemplateResult {
  const most = Math.max(...all.map(({ n }) => n));
  const line = ({ label, n }: Bar) => html`<span class="label">${label}</span>${bar(n, most)}<span class="figure">${number(n)}</span>`;
  return html`<ul class="bars plain">
    ${all.map(
      (one) => html`<li>
        <div>${line(one)}</div>
        ${one.below.length
          ? html`<ul class="plain">
              ${one.below.map((part) => html`<li><div>${line(part)}</div></li>`)}
            </ul>`
          : ''}
      </li>`,
    )}
  </ul>`;
}

// One line in parts: `[class, count]`. The counts stand below it, with the classes' colours.
export function shares(parts: [name: string, n: number][]): TemplateResult {
  const whole = parts.reduce((sum, [, n]) => sum + n, 0) || 1;
  let from = 0;
  return html`<svg class="shares" viewBox="0 0 100 10" preserveAspectRatio="none" aria-hidden="true">
    ${parts.map(([name, n]) => {
      const part = svg`<rect class=${name} x=${(100 * from) / whole} width=${(100 * n) / whole} height="10" />`;
      from += n;
      return part;
    })}
  </svg>`;
}
