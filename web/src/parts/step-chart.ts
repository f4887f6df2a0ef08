// SPDX-License-Identifier: Apache-2.0
// A picture of prices as steps, from zero upwards, so that heights compare as prices do. The table beside it has the figures; who
// cannot see the picture gets its summary.
import { svg, html, type TemplateResult } from 'lit';

export interface Step {
  from: number; // both on the horizontal axis, in any measure
  to: number;
  value: number;
  label: string; // of the value
}

export interface Tick {
  at: number;
  label: string;
}

export interface StepChart {
  title: string;
  summary: string;
  steps: Step[];
  ticks: Tick[];
  now?: number; // a line at the present day
}

const width = 320;
const height = 132;
const left = 4;
const right = 4;
const top = 20;
const bottom = 18;

export function stepChart({ title, summary, steps, ticks, now }: StepChart): TemplateResult {
  const low = Math.min(...steps.map(({ from }) => from));
  const high = Math.max(...steps.map(({ to }) => to));
  const most = Math.max(...steps.map(({ value }) => value)) || 1;
  const x = (at: number) => left + ((at - low) / (high - low || 1)) * (width - left - right);
  const y = (value: number) => height - bottom - (value / most) * (height - top - bottom);
  return html`<figure class="chart">
    <figcaption>${title}</figcaption>
    <svg viewBox="0 0 ${width} ${height}" role="img" aria-label="${title}: ${summary}">
      ${steps.map(
        ({ from, to, value, label }) => svg`
          <rect class="area" x=${x(from)} y=${y(value)} width=${x(to) - x(from)} height=${y(0) - y(value)} />
          <path class="step" d="M${x(from)} ${y(value)}H${x(to)}" />
          <text x=${x(from) + 3} y=${y(value) - 5}>${label}</text>`,
      )}
      ${steps.slice(1).map((step, i) => {
        const before = steps[i] as Step;
        return before.to === step.from ? svg`<path class="step" d="M${x(step.from)} ${y(before.value)}V${y(step.value)}" />` : '';
      })}
      <path class="axis" d="M${left} ${y(0)}H${width - right}" />
      ${ticks.map(({ at, label }) => svg`<text class="tick" x=${x(at) + 3} y=${height - 5}>${label}</text>`)}
      ${now !== undefined && now > low && now < high ? svg`<path class="now" d="M${x(now)} ${top - 8}V${y(0)}" />` : ''}
    </svg>
  </figure>`;
}
