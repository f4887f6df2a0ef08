// SPDX-License-Identifier: Apache-2.0
// The columns of a product by theme: what they are called here, and how they are shown and typed.

export type Kind = 'text' | 'long' | 'number' | 'flag' | 'date';

export interface Field {
  column: string;
  title: string;
  kind: Kind;
  removed?: number; // what takes away a value that cannot be empty
}

export interface Theme {
  title: string;
  fields: Field[];
}

const field = (column: string, title: string, kind: Kind = 'text', removed?: number): Field => ({ column, title, kind, removed });

export const themes: Theme[] = [
  {
    title: 'Article',
    fields: [
      field('PARTNUMBER', 'Part number'),
      field('PRODUCTDESCRIPTION', 'Description', 'long'),
      field('PRODUCTREMARK', 'Remark', 'long'),
      field('GTIN', 'GTIN'),
      field('MANUFACTURERID', 'Manufacturer'),
      field('MFRPARTNUMBER', 'Manufacturer’s number'),
    ],
  },
  {
    title: 'Ordering',
    fields: [
      field('UNITCODE', 'Unit'),
      field('MINORDERQTY', 'Least quantity', 'number'),
      field('MULTIPLEOF', 'In multiples of', 'number'),
      field('LOTSIZE', 'Lot size', 'number'),
      field('DELIVERYLEADTIME', 'Delivery, days', 'number'),
      field('PRODUCTEFFECTIVITYDATE', 'From', 'date'),
      field('PRODUCTEXPIRYDATE', 'Until', 'date'),
      field('PRICINGMETHOD', 'Pricing method'),
    ],
  },
  {
    title: 'Supplier',
    fields: [
      field('BUSINESSPARTNERID', 'Supplier', 'number', -1),
      field('BUYFROMPARTNUMBER', 'Supplier’s number'),
      field('BUYFROMCONTACTEMAIL', 'Contact’s address'),
      field('BUYFROMCONTACTINFO', 'Contact', 'long'),
      field('CONTRACTCODE', 'Contract'),
      field('NUMBER', 'Line of the contract', 'number', -1),
    ],
  },
  {
    title: 'Classification',
    fields: [
      field('COMMODITYCODE', 'Commodity'),
      field('UNSPSCCODE', 'UNSPSC'),
      field('CLASSCODE', 'Hazardous class'),
      field('CLASSIFICATION', 'Classification'),
      field('PROPERTYGROUPID', 'Property group', 'number', -1),
    ],
  },
  {
    title: 'Handling',
    fields: [
      field('USERID', 'Buyer'),
      field('MULTIPLEBUYER', 'Several buyers', 'flag'),
      field('STOCKITEM', 'Kept in stock', 'flag'),
      field('SERVICEITEM', 'Service', 'flag'),
      field('CONFIGURABLE', 'Configurable', 'flag'),
    ],
  },
  {
    title: 'Files',
    fields: [
      field('IMAGEFILENAME', 'Picture'),
      field('TECHNICALIMAGE', 'Drawing'),
      field('URL', 'Address'),
    ],
  },
];

// The columns of a price line. Its first day, upper quantity and group tell it from the others.
export const priceFields: Field[] = [
  field('PRICE', 'Price', 'number'),
  field('CURRENCYCODE', 'Currency'),
  field('QUANTITYTO', 'To quantity', 'number'),
  field('GROUPBY', 'Group'),
  field('PRICEEFFECTIVEDATE', 'From', 'date'),
  field('PRICEEXPIRYDATE', 'Until', 'date'),
  field('DISCOUNTPERC', 'Discount, %', 'number'),
  field('DISCOUNTAMOUNT', 'Discount, amount', 'number'),
  field('PRICETAXPERCENTAGE', 'Tax, %', 'number'),
  field('FREIGHTCOST', 'Freight', 'number'),
];
