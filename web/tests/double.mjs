// SPDX-License-Identifier: Apache-2.0
// A double of the host for tests of the page: the routes that the console asks for, from data made up here. It answers as the host
// does in shape, policy and status, and can do what a real one does seldom: be away, end a session, run an upload step by step.
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { extname, join } from 'node:path';

const policy =
  "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; font-src 'self'; connect-src 'self'; " +
  "manifest-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
const types = { '.html': 'text/html; charset=utf-8', '.js': 'text/javascript; charset=utf-8', '.css': 'text/css; charset=utf-8', '.svg': 'image/svg+xml' };

// Names that would be markup, script, an address, another direction of writing or no text at all, if anything took them for it.
export const hostile = [
  '<img src=x onerror="window.struck=1">',
  '"><script>window.struck=1</script>',
  "'; window.struck=1; //",
  '${window.struck=1}{{struck}}',
  'javascript:window.struck=1',
  '\u202Egnp.exe\u202C \u0000\u0007',
  'A'.repeat(255),
  '<svg/onload=window.struck=1>',
  '&lt;b&gt;&amp;',
];

const words = ['Copy paper', 'Safety gloves', 'Hex bolt M8', 'Erlenmeyer flask', 'Cable duct', 'Cleaning spirit', 'Label printer', 'Corrugated box'];
const twoDigits = (n) => String(n).padStart(2, '0');

function product(i) {
  const name = i < hostile.length ? hostile[i] : `${words[i % words.length]}, size ${(i * 7) % 90}`;
  return {
    id: i + 1,
    partNumber: i < hostile.length ? `X-${i} ${name}`.slice(0, 50) : `M-${100000 + i * 7}`,
    supplierPartNumber: i < hostile.length ? name.slice(0, 100) : `QM-${twoDigits(i % 97)}-${i}`,
    description: name,
    unit: i % 5 ? 'EA' : 'BX',
    disabled: i % 40 === 39,
  };
}

const line = (to, price, currency, from, until = '2035-12-31T00:00:00', group = '') => ({
  PRICEEFFECTIVEDATE: from, PRICEEXPIRYDATE: until, QUANTITYTO: to, GROUPBY: group, CURRENCYCODE: currency, PRICE: price,
  DISCOUNTPERC: null, DISCOUNTAMOUNT: null, PRICETAXPERCENTAGE: 19, FREIGHTCOST: null,
});

export class Double {
  session = { name: 'anna', role: 'keeper', user: null };
  signedIn = true;
  empty = false; // a store without anything
  many = 0; // units, and property groups with five properties each, beside the few
  refusesChanges = false; // as for a token whose role does not allow them
  token = 'right-token';
  asked = []; // method and path of each request, and the body of calls
  step = 120; // milliseconds between two events of an upload

  constructor(dist) {
    this.dist = dist;
    this.products = Array.from({ length: 2500 }, (_, i) => product(i));
    this.records = new Map();
    this.uploads = [];
    this.nodes = this.#nodes();
    this.codes = this.#codes();
  }

  async listen(port = 0) {
    this.sockets = new Set();
    this.server = createServer((request, response) => {
      this.#answer(request, response).catch((failed) => {
        if (!(failed instanceof Problem)) console.error(failed);
        const { status = 500, ...more } = failed.problem ?? {};
        if (!response.headersSent) response.writeHead(status, { 'Content-Type': 'application/problem+json' });
        response.end(JSON.stringify({ type: 'about:blank', status, ...more }));
      });
    });
    this.server.on('connection', (socket) => {
      this.sockets.add(socket);
      socket.on('close', () => this.sockets.delete(socket));
    });
    await new Promise((done) => this.server.listen(port, '127.0.0.1', done));
    this.port = this.server.address().port;
    this.address = `http://127.0.0.1:${this.port}/`;
  }

  breakOff() {
    for (const socket of this.sockets) socket.destroy();
  }

  async close() {
    this.breakOff();
    await new Promise((done) => this.server.close(done));
  }

  // 6,711 nodes: 11 roots with ten branches of sixty leaves each.
  #nodes() {
    const nodes = [];
    const add = (parent, name, type) => {
      nodes.push({ id: nodes.length + 1, parent, name, type, category: type === 1 ? nodes.length + 1 : null });
      return nodes.length;
    };
    for (let i = 0; i < 11; ++i) {
      const root = add(null, i === 1 ? hostile[0] : `Range ${i + 1}`, 0);
      for (let j = 0; j < 10; ++j) {
        const branch = add(root, `Group ${i + 1}.${j + 1}`, 0);
        for (let k = 0; k < 60; ++k) add(branch, `Category ${i + 1}.${j + 1}.${k + 1}`, 1);
      }
    }
    return nodes;
  }

  // 20,789 codes on four levels.
  #codes() {
    const codes = new Map();
    const fill = (parent, level) => {
      for (let i = 0; i < [43, 9, 7, 7][level] && codes.size < 20789; ++i) {
        const code = parent + twoDigits(10 + i);
        codes.set(code, code === '11' ? hostile[1] : `${['Segment', 'Family', 'Class', 'Commodity'][level]} ${words[(i + level) % words.length]} ${code}`);
        if (level < 3) fill(code, level + 1);
      }
    };
    fill('', 0);
    return codes;
  }

  record(id) {
    const found = this.products.find((one) => one.id === id);
    if (!found) throw new Problem({ status: 404, title: 'Not Found', detail: `There is no product ${id}.` });
    if (!this.records.has(id)) {
      const bad = hostile[(id - 1) % hostile.length];
      const text = id <= hostile.length ? bad : null;
      this.records.set(id, {
        PRODUCTID: id, PARTNUMBER: found.partNumber, PRODUCTDESCRIPTION: found.description, PRODUCTREMARK: text, GTIN: '02000071000112',
        MANUFACTURERID: text, MFRPARTNUMBER: text ?? 'PAP81322', UNITCODE: found.unit, MINORDERQTY: 10, MULTIPLEOF: 5, LOTSIZE: null,
        DELIVERYLEADTIME: 3.5, PRODUCTEFFECTIVITYDATE: '2026-01-01T00:00:00', PRODUCTEXPIRYDATE: null, PRICINGMETHOD: text,
        BUSINESSPARTNERID: 1, BUYFROMPARTNUMBER: found.supplierPartNumber, BUYFROMCONTACTEMAIL: text, BUYFROMCONTACTINFO: text,
        CONTRACTCODE: text, NUMBER: null, COMMODITYCODE: text ?? 'OFFICE', UNSPSCCODE: '10101010', CLASSCODE: text, CLASSIFICATION: text,
        PROPERTYGROUPID: null, USERID: text ?? 'JONAS.GROSS', MULTIPLEBUYER: 1, STOCKITEM: 0, SERVICEITEM: 0, CONFIGURABLE: 0,
        IMAGEFILENAME: text, TECHNICALIMAGE: text, URL: text ?? 'https://www.quillmarch.example/p/1', DISABLED: found.disabled ? 1 : 0,
        DATEUPDATED: '2026-11-22T16:47:35',
        properties: [{ PROPERTYID: 1, PROPERTYNAME: text ?? 'COLOUR', DATATYPE: 3, VALUE: text ?? 'white' }, { PROPERTYID: 2, PROPERTYNAME: 'WEIGHT_KG', DATATYPE: 2, VALUE: '2.5' }],
        prices: [
          line(49, 4.35, 'EUR', '2026-01-01T00:00:00'), line(199, 3.95, 'EUR', '2026-01-01T00:00:00'),
          line(999999999, 3.6, 'EUR', '2026-01-01T00:00:00'), line(999999999, 4.1, 'EUR', '2025-01-01T00:00:00', '2025-12-31T00:00:00'),
          line(99, 4.89, 'USD', '2026-01-01T00:00:00', '2035-12-31T00:00:00', text ?? ''), line(999999999, 4.4, 'USD', '2026-01-01T00:00:00', '2035-12-31T00:00:00', text ?? ''),
        ],
        buyers: [{ USERID: text ?? 'BEN.OKORO', USERNAME: text ?? 'Ben Okoro' }, { USERID: 'NOBODY', USERNAME: null }],
        categories: [{ CATEGORYID: 7, CATEGORYNAME: text ?? 'Paper', UNSPSCCODE: '1010' }],
        alternatives: [this.products[(id + 11) % this.products.length], this.products[0]].map((one) => ({ PRODUCTID: one.id, PARTNUMBER: one.partNumber, PRODUCTDESCRIPTION: one.description, DISABLED: 0 })),
      });
    }
    return this.records.get(id);
  }

  async #answer(request, response) {
    const url = new URL(request.url, this.address);
    const body = await bodyOf(request);
    const path = decodeURIComponent(url.pathname);
    this.asked.push(`${request.method} ${path}${url.search}`);
    const json = (value, status = 200, more = {}) => {
      response.writeHead(status, { 'Content-Type': 'application/json', ...more });
      response.end(status === 204 ? undefined : JSON.stringify(value));
    };
    if (path === '/healthz') return json({ status: 'ok' });
    if (!path.startsWith('/api/') && path !== '/rpc') return this.#file(path, response);
    if (path === '/api/v1/session' && request.method === 'POST') {
      if (request.headers.authorization !== `Bearer ${this.token}`) throw new Problem({ status: 401, title: 'Unauthorized', detail: 'The token is not known.' });
      this.signedIn = true;
      return json(this.session);
    }
    if (!this.signedIn) throw new Problem({ status: 401, title: 'Unauthorized', detail: 'A token is needed.' });
    if (path === '/api/v1/session') {
      if (request.method === 'DELETE') this.signedIn = false;
      return json(this.session, request.method === 'DELETE' ? 204 : 200);
    }
    if (this.refusesChanges && request.method !== 'GET') throw new Problem({ status: 403, title: 'Forbidden', detail: 'The role of this token does not allow it.' });
    if (path === '/rpc') return json(this.#call(JSON.parse(body)));
    const [, , , list, id, below] = path.split('/');
    const query = Object.fromEntries(url.searchParams);
    switch (list) {
      case 'products':
        if (id === undefined) return json(this.#find(query));
        if (below === 'price') return json(this.#price(Number(id), query));
        if (below === 'prices') return json(this.#replacePrice(Number(id), JSON.parse(body)), 204);
        return json(this.record(Number(id)));
      case 'catalogs':
        if (id === undefined) return json({ items: this.empty ? [] : [{ id: 1, name: 'House catalogue 2026', description: hostile[0], active: true }, { id: 2, name: hostile[1], description: '', active: false }] });
        return json({ items: this.#level(Number(query.parent) || null, query.user) });
      case 'rights':
        return json({
          user: query.user, node: Number(query.node), sight: 'laidOut', endless: false, sees: true, orders: true, viewOnly: false,
          steps: [
            { place: 'catalog', id: 1, name: 'House catalogue 2026', entry: 'none', decides: false },
            { place: 'node', id: Number(query.node), name: hostile[0], entry: 'order', decides: true },
          ],
        });
      case 'unspsc':
        return json({ items: this.empty ? [] : this.#codesWith(query) });
      case 'property-groups':
        return json({ items: this.empty ? [] : [{ PROPERTYGROUPID: 1, PROPERTYGROUPNAME: hostile[0], properties: [{ PROPERTYID: 1, PROPERTYNAME: hostile[1], MANDATORY: true, SHOWINPRODUCTSHEET: true }, { PROPERTYID: 2, PROPERTYNAME: 'COLOUR', MANDATORY: false, SHOWINPRODUCTSHEET: false }] }, { PROPERTYGROUPID: 2, PROPERTYGROUPNAME: 'Paper', properties: [] }, ...Array.from({ length: this.many }, (_, i) => ({ PROPERTYGROUPID: i + 3, PROPERTYGROUPNAME: `Group ${i}`, properties: ['A', 'B', 'C', 'D', 'E'].map((name) => ({ PROPERTYID: 3, PROPERTYNAME: `${name} of ${i}`, MANDATORY: false, SHOWINPRODUCTSHEET: true })) }))] });
      case 'units':
        return json({ items: this.empty ? [] : [{ UNITCODE: 'EA', UNITDESCRIPTION: 'each' }, { UNITCODE: 'X', UNITDESCRIPTION: hostile[0] }, ...Array.from({ length: this.many }, (_, i) => ({ UNITCODE: `U${i}`, UNITDESCRIPTION: `unit ${i}` }))] });
      case 'uploads':
        return this.#uploads(request, response, json, query, id, below, body);
    }
    throw new Problem({ status: 404, title: 'Not Found', detail: 'Nothing is here.' });
  }

  #file(path, response) {
    const name = path === '/' ? 'index.html' : path.slice(1);
    if (name.includes('..')) throw new Problem({ status: 404, title: 'Not Found' });
    let content;
    try {
      content = readFileSync(join(this.dist, name));
    } catch {
      throw new Problem({ status: 404, title: 'Not Found' });
    }
    response.writeHead(200, { 'Content-Type': types[extname(name)], 'Content-Security-Policy': policy, 'X-Content-Type-Options': 'nosniff' });
    response.end(content);
  }

  #find({ query = '', catalog, category, supplier, user, limit = 50, after = 0 }) {
    const wanted = query.toLowerCase().split(/\s+/).filter(Boolean);
    const narrowed = catalog || category || supplier || user;
    const all = this.empty ? [] : this.products.filter((one) => {
      const text = `${one.partNumber} ${one.supplierPartNumber} ${one.description}`.toLowerCase();
      return wanted.every((word) => text.includes(word)) && (!narrowed || one.id % 3 === 0);
    });
    const begin = Number(after);
    const end = begin + Number(limit);
    return { items: all.slice(begin, end), next: end < all.length ? String(end) : null, total: all.length <= 1000 ? all.length : null };
  }

  #price(id, { quantity = 1, currency = 'EUR', date = '2026-11-22' }) {
    const lines = this.record(id).prices.filter((one) => one.CURRENCYCODE === currency && one.PRICEEFFECTIVEDATE.slice(0, 10) <= date && date <= one.PRICEEXPIRYDATE.slice(0, 10));
    const holding = lines.sort((a, b) => a.QUANTITYTO - b.QUANTITYTO).find((one) => Number(quantity) <= one.QUANTITYTO);
    if (!holding) throw new Problem({ status: 404, title: 'Not Found', detail: `No price line of product ${id} holds for ${quantity} on ${date} in ${currency}.` });
    return { price: holding.PRICE, currency, line: holding };
  }

  #replacePrice(id, { before, after }) {
    this.asked.push(JSON.stringify({ before, after }));
    const { prices } = this.record(id);
    if (after?.CURRENCYCODE === 'XYZ') throw new Problem({ status: 422, ...refusedPrice });
    const key = (one) => [one.PRICEEFFECTIVEDATE.slice(0, 10), one.QUANTITYTO, one.GROUPBY].join(' ');
    const place = before ? prices.findIndex((one) => key(one) === key(before)) : prices.length;
    if (place < 0) throw new Problem({ status: 409, title: 'Conflict', detail: 'There is no such price line any longer.' });
    prices.splice(place, before ? 1 : 0, ...(after ? [after] : []));
  }

  #level(parent, user) {
    if (parent === 612) throw new Problem({ status: 503, title: 'Service Unavailable', detail: 'Too many requests wait.' });
    return this.nodes.filter((node) => node.parent === parent).map((node) => ({
      ...node,
      children: node.type === 0,
      ...(user ? { sees: node.id % 3 !== 0, orders: node.id % 3 === 1, viewOnly: node.id % 3 === 2 } : {}),
    }));
  }

  #codesWith({ parent = '', query, with: more }) {
    const fits = query === undefined
      ? ([code]) => code.length === parent.length + 2 && code.startsWith(parent)
      : ([, description]) => description.toLowerCase().includes(query.toLowerCase());
    return [...this.codes].filter(fits).slice(0, 200).map(([code, description]) => ({ code, description, hasChildren: code.length < 8, ...(more ? { products: (Number(code) * 7) % 400 } : {}) }));
  }

  #call({ id, params: { progId, method, args } }) {
    this.asked.push(`${progId} ${method} ${JSON.stringify(args)}`);
    const record = this.record(args[0]);
    if (method === 'UpdateProductPropertyValue') record.properties.find((one) => one.PROPERTYID === args[1]).VALUE = args[2];
    if (method === 'Disable' || method === 'Enable') record.DISABLED = method === 'Disable' ? 1 : 0;
    if (method === 'Update20')
      for (const [i, column] of args[1].entries()) {
        const value = args[2][i];
        if (column === 'USERID' && value === 'GHOST') return { jsonrpc: '2.0', id, error: refusedReference };
        if (column === 'MINORDERQTY' && Number.isNaN(Number(value))) return { jsonrpc: '2.0', id, error: refusedType };
        record[column] = typeof value === 'object' && value ? (value.value ?? null) : column === 'MINORDERQTY' ? Number(value) : value;
      }
    return { jsonrpc: '2.0', id, result: { value: true } };
  }

  #uploads(request, response, json, query, id, below, body) {
    if (id === undefined && request.method === 'POST') {
      const upload = {
        id: String(this.uploads.length + 1), kind: query.kind, mode: query.mode, name: query.name ?? null, state: 'running', stoppedBy: null, read: 0, done: 0, total: 40,
        started: new Date().toISOString(), ended: null, findings: 0, counts: { inserted: 0, updated: 0, refused: 0, left: 0 }, bytes: body.length,
      };
      this.uploads.push(upload);
      return json(upload, 202, { Location: `/api/v1/uploads/${upload.id}` });
    }
    if (id === undefined) return json({ items: [...this.uploads].reverse() });
    const upload = this.uploads.find((one) => one.id === id);
    if (!upload) throw new Problem({ status: 404, title: 'Not Found', detail: `There is no upload ${id}.` });
    if (request.method === 'DELETE') {
      upload.state = 'cancelled';
      upload.ended = new Date().toISOString();
      return json(undefined, 204);
    }
    if (below === 'findings') {
      const begin = Number(query.after ?? 0);
      const all = Array.from({ length: upload.findings }, (_, i) => ({ partNumber: `QM-BAD-${i}`, field: ['UNITCODE', 'COMMODITYCODE', 'UNITCODE', hostile[0]][i % 4], value: hostile[i % hostile.length], reason: i % 8 === 2 ? 'It is empty.' : 'There is no such unit.', outcome: 'refused' }));
      const end = begin + Number(query.limit ?? 50);
      return json({ items: all.slice(begin, end), next: end < all.length ? String(end) : null });
    }
    if (below === 'remaining') {
      response.writeHead(200, { 'Content-Type': 'application/xml', 'Content-Disposition': 'attachment; filename="remaining.xml"' });
      return response.end('<Products/>');
    }
    if (below === 'events') {
      response.writeHead(200, { 'Content-Type': 'text/event-stream' });
      const timer = setInterval(() => {
        if (upload.state === 'running') {
          upload.done += 5;
          upload.read = upload.done;
          upload.findings = Math.floor(upload.done / 4);
          upload.counts = { inserted: upload.done - upload.findings - 2, updated: 0, unchanged: 2, refused: upload.findings, left: 0 };
          if (upload.done >= upload.total) {
            upload.state = 'done';
            upload.ended = new Date().toISOString();
          }
        }
        const going = upload.state === 'running';
        response.write(`id: ${upload.done}\nevent: ${going ? 'progress' : 'end'}\ndata: ${JSON.stringify(upload)}\n\n`);
        if (!going) {
          clearInterval(timer);
          response.end();
        }
      }, this.step);
      response.on('close', () => clearInterval(timer));
      return undefined;
    }
    return json(upload);
  }
}

const refusedReference = {
  code: -32000, message: 'refused',
  data: {
    number: -2147221497, source: 'The product record you are trying to insert has an invalid reference to another record',
    description: '\r\nERROR 0x80040007\r\n METHOD: Mercato.Product.Update\r\n DESC: Application-defined or object-defined error.\r\n',
  },
};
const refusedPrice = {
  number: -2147221497, source: 'Mercato',
  description: '\r\nERROR 0x80040007\r\n METHOD: Mercato.Product.InsertUpdatePrice\r\n DESC: The catalog product price record you are trying to insert has an invalid reference to another record.\r\n',
};
const refusedType = {
  code: -32000, message: 'refused',
  data: { number: 13, source: 'Mercato', description: '\r\nERROR 0xD\r\n METHOD: Mercato.Product.Update\r\n DESC: Type mismatch.\r\n' },
};

class Problem extends Error {
  constructor(problem) {
    super(problem.detail);
    this.problem = problem;
  }
}

function bodyOf(request) {
  return new Promise((done) => {
    let body = '';
    request.on('data', (piece) => (body += piece)).on('end', () => done(body));
  });
}
