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
  supplierPartNumber: string;
  description: string;
  unit: string;
  disabled: boolean;
}

export type Value = string | number | boolean | null;

export interface PriceLine {
  PRICEEFFECTIVEDATE: string;
  PRICEEXPIRYDATE: string | null;
  QUANTITYTO: number | null;
  GROUPBY: string | null;
  CURRENCYCODE: string | null;
  PRICE: number | null;
  DISCOUNTPERC: number | null;
  DISCOUNTAMOUNT: number | null;
  PRICETAXPERCENTAGE: number | null;
  FREIGHTCOST: number | null;
}

export interface ProductLists {
  properties: { PROPERTYID: number; PROPERTYNAME: string; VALUE: string | null }[];
  prices: PriceLine[];
  buyers: { USERID: string; USERNAME: string | null }[];
  categories: { CATEGORYID: number; CATEGORYNAME: string }[];
  alternatives: { PRODUCTID: number; PARTNUMBER: string; PRODUCTDESCRIPTION: string }[];
}

// The columns of the record by their names, and the lists beside them.
export type Product = ProductLists & { [column: string]: unknown };

export interface HoldingPrice {
  price: number;
  currency: string;
  line: PriceLine;
}

export interface Catalogue {
  id: number;
  name: string;
  description: string;
  active: boolean;
}

export interface CatalogueNode {
  id: number;
  parent: number | null;
  name: string;
  type: number | null;
  category: number | null;
  children: boolean;
  sees?: boolean;
  orders?: boolean;
  viewOnly?: boolean;
}

export interface Explained {
  sight: 'laidOut' | 'wholeCatalog' | 'nowhere';
  steps: { place: 'catalog' | 'node' | 'ancestor'; id: number; name: string; entry: 'none' | 'order' | 'viewOnly'; decides: boolean }[];
  endless: boolean; // the nodes above go in a circle
  orders: boolean;
  viewOnly: boolean;
}

export interface Code {
  code: string;
  description: string;
  hasChildren: boolean;
  products?: number; // that have it, or a code below it; not told to a user with rights of his own
}

export interface PropertyGroup {
  PROPERTYGROUPID: number;
  PROPERTYGROUPNAME: string;
  properties: { PROPERTYNAME: string; MANDATORY: boolean; SHOWINPRODUCTSHEET: boolean }[];
}

export interface Unit {
  UNITCODE: string;
  UNITDESCRIPTION: string | null;
}

export interface Upload {
  id: string;
  kind: 'products' | 'prices' | 'unspsc';
  mode: 'preview' | 'upload';
  state: 'waiting' | 'running' | 'done' | 'failed' | 'cancelled';
  name: string | null;
  read: number;
  done: number;
  total: number | null;
  started: string | null; // in universal time
  ended: string | null;
  findings: number;
  stoppedBy: string | null; // what ended it early
  counts: { inserted: number; updated: number; unchanged?: number; refused: number; left: number };
}

export interface Finding {
  partNumber: string | null;
  field: string | null;
  value: string | null;
  reason: string;
  outcome: 'refused' | 'dropped' | 'cut' | 'left';
}
