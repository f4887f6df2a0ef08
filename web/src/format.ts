// SPDX-License-Identifier: Apache-2.0
// Numbers, money and dates as the reader's language writes them. What has no value is an en dash.

export const none = '–';

// The quantity of price lines without an upper end.
export const endless = 999999999;

const plain = new Intl.NumberFormat(undefined, { maximumFractionDigits: 6 });
const day = new Intl.DateTimeFormat(undefined, { dateStyle: 'medium' });
const moment = new Intl.DateTimeFormat(undefined, { dateStyle: 'medium', timeStyle: 'short' });

export function number(value: number): string {
  return plain.format(value);
}

export function count(n: number, one: string, many: string): string {
  return `${plain.format(n)} ${n === 1 ? one : many}`;
}

// A currency that no standard knows stands behind the number as it is.
export function money(amount: string | number, currency: string | null): string {
  const value = Number(amount);
  const digits = { minimumFractionDigits: 2, maximumFractionDigits: 4 };
  if (currency && /^[A-Z]{3}$/.test(currency))
    return new Intl.NumberFormat(undefined, { style: 'currency', currency, currencyDisplay: 'code', ...digits }).format(value);
  const text = new Intl.NumberFormat(undefined, digits).format(value);
  return currency ? `${text} ${currency}` : text;
}

// The host's dates are without a zone: they are days and times as the catalogue means them.
export function asDate(text: string): Date {
  return new Date(text.length === 10 ? `${text}T00:00:00` : text);
}

export function date(text: string | null | undefined): string {
  if (!text) return none;
  const value = asDate(text);
  return Number.isNaN(value.getTime()) ? text : day.format(value);
}

export function time(text: string | null | undefined): string {
  if (!text) return none;
  const value = asDate(text);
  return Number.isNaN(value.getTime()) ? text : moment.format(value);
}

export function today(): string {
  const now = new Date();
  const two = (n: number) => String(n).padStart(2, '0');
  return `${now.getFullYear()}-${two(now.getMonth() + 1)}-${two(now.getDate())}`;
}

export function upTo(quantity: number | null): string {
  return isEndless(quantity) ? 'any' : number(quantity ?? 0);
}

export function isEndless(quantity: number | null): boolean {
  return quantity === null || quantity >= endless;
}

export function seconds(left: number): string {
  if (left < 60) return count(Math.max(1, Math.round(left)), 'second', 'seconds');
  return count(Math.round(left / 60), 'minute', 'minutes');
}
