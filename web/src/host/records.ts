// SPDX-License-Identifier: Apache-2.0
// What the host answers, as far as the console reads it.

export interface Session {
  name: string;
  role: 'reader' | 'keeper' | 'admin';
  user: string | null; // whose rights hold
}

export interface List<T> {
  items: T[];
}

export interface Page<T> extends List<T> {
  next: string | null;
  total: number | null;
}

export interface FoundProduct {
  id: number;
  partNumber: string;
  supplierPartNumber: string | null;
  description: string;
  unit: string | null;
  disabled: boolean;
}

export type Value = string | number | boolean | null;

export interface PriceLine {
  PRICEEFFECTIVEDATE: string;
  PRICEEXPIRYDATE: string | null;
  QUANTITYTO: number | null;
  GROUPBY: string | null;
  CURRENCYCODE: string | null;
  PRICE: string | null;
  DISCOUNTPERC: number | null;
  DISCOUNTAMOUNT: string | null;
  PRICETAXPERCENTAGE: number | null;
}

export interface ProductLists {
  properties: { id: number; name: string; value: string | null }[];
  prices: PriceLine[];
  buyers: { id: string; name: string | null }[];
  categories: { id: number; name: string }[];
  alternatives: FoundProduct[];
}

// The columns of the record by their names, and the lists beside them.
export type Product = ProductLists & { [column: string]: unknown };

export interface HoldingPrice {
  price: string;
  currency: string;
  line: PriceLine;
}

export interface Catalogue {
  id: number;
  name: string;
  description: string | null;
  active: boolean;
  version: string | null;
}

export interface CatalogueNode {
  id: number;
  parent: number | null;
  name: string;
  description: string | null;
  type: number | null;
  category: number | null;
  children: boolean;
  sees?: boolean;
  orders?: boolean;
  viewOnly?: boolean;
}

export interface Explained {
  steps: { place: string; entry: string; effect: string }[];
  sees: string;
  orders: string;
  viewOnly: string;
}

export interface Code {
  code: string;
  description: string | null;
  children: boolean;
}

export interface PropertyGroup {
  id: number;
  name: string;
  properties: { id: number; name: string; mandatory: boolean; shown: boolean }[];
}

export interface Unit {
  code: string;
  description: string | null;
}

export interface Upload {
  id: string;
  kind: 'products' | 'prices' | 'unspsc';
  mode: 'preview' | 'upload';
  state: 'waiting' | 'running' | 'done' | 'failed' | 'cancelled';
  name?: string | null;
  read: number;
  done: number;
  total: number | null;
  started: string | null;
  ended: string | null;
  findings: number;
  counts: Record<string, number>;
}

export interface Finding {
  partNumber: string | null;
  field: string | null;
  value: string | null;
  reason: string;
}
