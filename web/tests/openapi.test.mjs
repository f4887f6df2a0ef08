// SPDX-License-Identifier: Apache-2.0
// The host's description of itself: it is one by OpenAPI's own schema, each of its examples runs, and what comes back has the shape
// that it tells. MERCATO names the program; the packages are those of FOLDER, as in browser.mjs.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { execFileSync } from 'node:child_process';
import { join, resolve } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { RealHost } from './real_host.mjs';

const packages = createRequire(join(resolve(process.env.CONSOLE_FOLDER ?? 'build/web'), 'package.json'));
const { Validator } = await import(pathToFileURL(packages.resolve('@seriousme/openapi-schema-validator')));
const Ajv = packages('ajv/dist/2020.js');
const formats = packages('ajv-formats');

describe('The description of the host', () => {
  let host;
  let ask;
  let description;

  before(async () => {
    host = new RealHost(process.env.MERCATO);
    const statement = "INSERT INTO USERS (USERID, USERNAME) VALUES ('ANN', 'Ann')";
    execFileSync(process.env.MERCATO, ['--store', host.store, 'execute', '-'], { input: statement, stdio: ['pipe', 'ignore', 'inherit'] });
    await host.listen();
    const token = new URL(host.entrance).hash.replace('#token=', '');
    ask = (method, path, body, type) =>
      fetch(new URL(path, host.address), { method, body, headers: { Authorization: `Bearer ${token}`, ...(type && { 'Content-Type': type }) } });
    description = await (await ask('GET', '/api/v1/openapi.json')).json();
  });
  after(() => host.end());

  test('IsOneOfOpenApi31AndNotOfAnythingElse', async () => {
    const judged = (document) => new Validator().validate(structuredClone(document));
    assert.deepEqual(await judged(description), { valid: true });
    assert.equal(description.openapi, '3.1.0');
    const { info, ...headless } = description;
    assert.equal((await judged(headless)).valid, false);
  });

  test('HasExamplesThatRunAndTellsTheShapeOfTheirAnswers', async () => {
    const shapes = formats(new Ajv({ strict: true, allErrors: true, allowUnionTypes: true }));
    shapes.addKeyword('components');
    shapes.addSchema({ $id: 'host', components: description.components });
    const shaped = (schema, value, of) => {
      const [, name] = /^#\/components\/schemas\/(\w+)$/.exec(schema.$ref);
      const holds = shapes.getSchema(`host#/components/schemas/${name}`) ?? assert.fail(`there is no schema ${name}`);
      assert.ok(holds(value), `${of}: ${JSON.stringify(holds.errors)} of ${JSON.stringify(value).slice(0, 500)}`);
    };

    // The examples speak of upload 1, which stands for this one: long, so that it can still be cancelled, and over when it is told of.
    const records = Array.from({ length: 3000 }, (_, number) => `<Product buyfrompartnumber="N-${number}"><PARTNUMBER>${number}</PARTNUMBER></Product>`);
    const accepted = await ask('POST', '/api/v1/uploads?kind=products&onErrors=skip', `<Products>${records.join('')}</Products>`);
    assert.equal(accepted.status, 202);
    const upload = accepted.headers.get('Location');
    assert.equal((await ask('DELETE', upload)).status, 204);
    await (await ask('GET', `${upload}/events`)).text();

    let run = 0;
    for (const [path, operations] of Object.entries(description.paths))
      for (const [method, operation] of Object.entries(operations)) {
        const of = `${method.toUpperCase()} ${path}`;
        let place = path.replace('/api/v1/uploads/{id}', upload);
        const query = new URLSearchParams();
        for (const { name, in: where, required, example, schema } of operation.parameters ?? []) {
          assert.ok(!required || example !== undefined, `${of} has no example of ${name}`);
          if (example === undefined) continue;
          assert.ok(shapes.validate(schema, example), `${of}: the example of ${name} is none`);
          if (where === 'path') place = place.replace(`{${name}}`, example);
          else query.set(name, example);
        }
        const [[type, content] = []] = Object.entries(operation.requestBody?.content ?? {});
        const body = content && (typeof content.example === 'string' ? content.example : JSON.stringify(content.example));
        const answer = await ask(method.toUpperCase(), `${place}?${query}`, body, type);
        const text = await answer.text();
        ++run;
        if (of === 'DELETE /api/v1/uploads/{id}') {
          // It has ended: a problem, which has a shape of its own.
          assert.equal(answer.status, 409);
          shaped(description.components.responses.Problem.content['application/problem+json'].schema, JSON.parse(text), of);
          continue;
        }
        const told = operation.responses[answer.status] ?? assert.fail(`${of} answers ${answer.status}: ${text}`);
        if (!told.content) {
          assert.equal(text, '', of);
          continue;
        }
        const [[media, { schema }]] = Object.entries(told.content);
        assert.equal(answer.headers.get('Content-Type').split(';')[0], media, of);
        shaped(schema, media === 'application/json' ? JSON.parse(text) : text, of);
      }
    assert.ok(run >= 25, `only ${run} examples`);
  });
});
