// SPDX-License-Identifier: Apache-2.0
// Price lines as pictures. A line is of a currency and a group; those of one of both belong into one picture.
import { asDate, date, isEndless, money, number } from './format.js';
import type { PriceLine } from './host/records.js';
import type { Step, StepChart } from './parts/step-chart.js';

const day = 24 * 60 * 60 * 1000;
const endOfTime = asDate('2035-12-31').getTime(); // and what lies behind it: no end in a picture

function groupsOf(lines: PriceLine[]): PriceLine[][] {
  const groups = new Map<string, PriceLine[]>();
  for (const line of lines) {
    const name = `${line.CURRENCYCODE ?? ''} ${line.GROUPBY ?? ''}`;
    groups.set(name, [...(groups.get(name) ?? []), line]);
  }
  return [...groups.values()];
}

function named({ CURRENCYCODE, GROUPBY }: PriceLine): string {
  return [CURRENCYCODE, GROUPBY].filter(Boolean).join(', group ');
}

function holds(line: PriceLine, at: number): boolean {
  const until = line.PRICEEXPIRYDATE === null ? Infinity : asDate(line.PRICEEXPIRYDATE).getTime() + day;
  return asDate(line.PRICEEFFECTIVEDATE).getTime() <= at && at < until;
}

const upper = (line: PriceLine) => line.QUANTITYTO ?? Infinity;
const begin = (line: PriceLine) => asDate(line.PRICEEFFECTIVEDATE).getTime();

// The bands that hold on a day, each as wide as the others: the last one has no end.
export function byQuantity(lines: PriceLine[], at: number): StepChart[] {
  return groupsOf(lines.filter((line) => line.PRICE !== null && holds(line, at)))
    .map((group) => {
      const latest = Math.max(...group.map(begin));
      const bands = group.filter((line) => begin(line) === latest).sort((a, b) => upper(a) - upper(b));
      const steps = bands.map((line, i) => stepOf(line, i, i + 1));
      const ticks = bands.map((line, i) => ({ at: i, label: bandOf(line, bands[i - 1]) }));
      return chart(`By quantity, ${named(bands[0] as PriceLine)}`, steps, ticks);
    });
}

// The price of the smallest quantity, day by day. A day without a price is a gap.
export function overTime(lines: PriceLine[], at: number): StepChart[] {
  return groupsOf(lines.filter((line) => line.PRICE !== null))
    .map((group) => {
      const days = [...new Set(group.map(begin))].sort((a, b) => a - b);
      const steps = days.map((from, i) => {
        const line = group.filter((one) => begin(one) === from).sort((a, b) => upper(a) - upper(b))[0] as PriceLine;
        const expiry = line.PRICEEXPIRYDATE === null ? Infinity : asDate(line.PRICEEXPIRYDATE).getTime() + day;
        const end = expiry > endOfTime ? Math.max(at, from) + 180 * day : expiry;
        return stepOf(line, from, Math.min(end, days[i + 1] ?? Infinity));
      });
      const ticks = steps.map(({ from }, i) => ({ at: from, label: date((lineOf(group, days[i]) as PriceLine).PRICEEFFECTIVEDATE) }));
      return { ...chart(`Over time, ${named(group[0] as PriceLine)}`, steps, ticks), now: at };
    });
}

function lineOf(group: PriceLine[], from: number | undefined): PriceLine | undefined {
  return group.find((line) => begin(line) === from);
}

function stepOf(line: PriceLine, from: number, to: number): Step {
  return { from, to, value: Number(line.PRICE), label: money(line.PRICE ?? 0, line.CURRENCYCODE) };
}

function bandOf(line: PriceLine, before: PriceLine | undefined): string {
  const from = before?.QUANTITYTO == null ? '' : `over ${number(before.QUANTITYTO)}`;
  if (isEndless(line.QUANTITYTO)) return from || 'any quantity';
  return `to ${number(line.QUANTITYTO ?? 0)}`;
}

function chart(title: string, steps: Step[], ticks: StepChart['ticks']): StepChart {
  return { title, steps, ticks, summary: steps.map(({ label }, i) => `${ticks[i]?.label ?? ''}: ${label}`).join('; ') };
}
