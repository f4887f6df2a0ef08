// SPDX-License-Identifier: Apache-2.0
// Documents: chosen or dropped, looked at without a change, uploaded, followed, ended, and what became of earlier ones.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { none, number, seconds, time } from '../format.js';
import { ask, get, Failure } from '../host/requests.js';
import type { Finding, List, Page, Upload } from '../host/records.js';
import { bars, shares, type Bar } from '../parts/bars.js';
import { View, refusal } from '../parts/view.js';
import { address, go } from '../place.js';
import '../parts/command-line.js';
import '../parts/long-list.js';

const kinds: Record<Upload['kind'], string> = {
  products: 'Products',
  prices: 'Prices',
  unspsc: 'UNSPSC codes',
};

const states: Record<Upload['state'], string> = {
  waiting: 'waits for its turn',
  running: 'runs',
  done: 'done',
  failed: 'failed',
  cancelled: 'cancelled',
};

const outcomes: Record<Finding['outcome'], string> = {
  refused: 'refused',
  dropped: 'without the field',
  cut: 'cut',
  left: 'remains',
};

const pause = 1000; // milliseconds until broken events are asked for again
const findingsAtATime = 1000;
const findingsAtOnce = 20000; // until somebody wants more of them in the page

@customElement('upload-view')
export class UploadView extends View {
  @state() private history?: Upload[];
  @state() private upload?: Upload;
  @state() private findings: Finding[] = [];
  @state() private next?: string; // the place of those that are not in the page
  @state() private fetching = false;
  @state() private file?: File; // the document that is looked at, as long as the page is open
  @state() private kind: Upload['kind'] = 'products';
  @state() private onErrors: 'skip' | 'write' = 'skip';
  @state() private over = false;
  @state() private sending = false;
  @state() private refused: unknown;

  private events?: EventSource;
  private fileOf = ''; // the upload that the document became

  private get key(): string | undefined {
    return this.place.parts[0];
  }

  override disconnectedCallback(): void {
    super.disconnectedCallback();
    this.events?.close();
  }

  protected async load(signal: AbortSignal): Promise<void> {
    this.events?.close();
    if (this.key === undefined) {
      this.upload = undefined;
      if (!this.mayChange) return;
      const { items } = await get<List<Upload>>('api/v1/uploads', {}, signal);
      if (!signal.aborted) this.history = items;
      return;
    }
    if (this.upload?.id !== this.key) this.upload = undefined;
    this.findings = [];
    this.next = undefined;
    await this.look(signal);
    if (!signal.aborted && this.upload && isGoing(this.upload)) this.follow(this.key);
  }

  override render(): TemplateResult {
    if (this.key === undefined) return this.start();
    if (!this.upload) return html`<h1>Upload</h1>${refusal(this.failure)}`;
    return this.report(this.upload);
  }

  // The start, and what there was before.

  private start(): TemplateResult {
    return html`
      <h1>Upload</h1>
      ${refusal(this.refused)} ${refusal(this.failure)}
      ${this.mayChange
        ? html`${this.choice()}
            <h2>Earlier uploads</h2>
            ${this.history?.length ? this.earlier(this.history) : html`<p class="muted">${this.history ? 'None yet.' : ''}</p>`}`
        : html`<p>Your token may read only; uploads take one of a keeper.</p>`}
    `;
  }

  private choice(): TemplateResult {
    return html`
      <form class="choice" @submit=${(event: Event) => event.preventDefault()}>
        <label
          class="drop ${this.over ? 'over' : ''}"
          @dragover=${this.dragged}
          @dragleave=${() => (this.over = false)}
          @drop=${this.dropped}
        >
          <input class="unseen" type="file" @change=${this.picked} />
          ${this.file
            ? html`<b>${this.file.name}</b> <span class="muted">${number(Math.ceil(this.file.size / 1000))} kB</span>`
            : html`<b>Drop a document here, or choose one</b>
                <span class="muted">Products and prices as XML, codes as XML or a spreadsheet, packed by gzip or not</span>`}
        </label>
        <div class="asked">
          <label>
            It holds
            <select @change=${(event: Event) => (this.kind = (event.target as HTMLSelectElement).value as Upload['kind'])}>
              ${Object.entries(kinds).map(([name, title]) => html`<option value=${name} ?selected=${name === this.kind}>${title}</option>`)}
            </select>
          </label>
          <label>
            Records with bad fields
            <select @change=${(event: Event) => (this.onErrors = (event.target as HTMLSelectElement).value as 'skip' | 'write')}>
              <option value="skip" ?selected=${this.onErrors === 'skip'}>are left out</option>
              <option value="write" ?selected=${this.onErrors === 'write'}>are written without those fields</option>
            </select>
          </label>
          <button class="main" ?disabled=${!this.file || this.sending} @click=${() => this.send('preview')}>Preview</button>
        </div>
        <p class="hint">A preview tells what is wrong and what would be written, and changes nothing. The upload is started from there.</p>
      </form>
    `;
  }

  private earlier(uploads: Upload[]): TemplateResult {
    return html`<long-list
      label="Earlier uploads"
      kind="upload"
      .head=${html`<span>Number</span><span>Started</span><span>What</span><span>State</span><span class="figure">Read</span
        ><span class="figure">Findings</span>`}
      .items=${uploads}
      .to=${({ id }: Upload) => address(['upload', id])}
      .show=${uploadRow}
    ></long-list>`;
  }

  // One upload.

  private report(upload: Upload): TemplateResult {
    const going = isGoing(upload);
    const known = this.file && this.fileOf === upload.id;
    return html`
      <div class="title">
        <div>
          <p class="muted"><a href=${address(['upload'])}>Uploads</a></p>
          <h1>${titleOf(upload)}</h1>
          <p class="muted">${stateMark(upload)} ${upload.started ? `began ${time(upload.started)}` : ''}${upload.ended ? `, ended ${time(upload.ended)}` : ''}</p>
        </div>
        ${this.mayChange && going ? html`<button @click=${this.cancel}>${upload.mode === 'preview' ? 'End the preview' : 'Cancel: what is written stays'}</button>` : nothing}
        ${this.mayChange && !going && upload.mode === 'preview' && known
          ? html`<button class="main" ?disabled=${this.sending} @click=${() => this.send('upload', upload.kind)}>
              Upload: ${this.onErrors === 'skip' ? 'bad records are left out' : 'bad fields are left out'}
            </button>`
          : nothing}
      </div>
      ${refusal(this.refused)} ${refusal(this.failure)} ${refusal(upload.stoppedBy)}
      ${going ? this.progress(upload) : nothing} ${this.counts(upload)}
      ${!going && upload.mode === 'upload' && hasRest(upload)
        ? html`<p><a href="api/v1/uploads/${encodeURIComponent(upload.id)}/remaining" download>What was not written, as a document</a></p>`
        : nothing}
      ${!going && upload.mode === 'preview' && !known
        ? html`<p class="muted">To upload the document, choose it again under <a href=${address(['upload'])}>Upload</a>: the page does not keep it.</p>`
        : nothing}
      ${upload.mode === 'upload' && !going && upload.counts.inserted + upload.counts.updated > 0
        ? html`<div class="way-back">
            <p>Upload ${upload.id} is taken back on the command line, row by row as it was before:</p>
            <command-line .command=${`mercato uploads undo ${upload.id}`}></command-line>
          </div>`
        : nothing}
      ${this.findingsOf(upload)}
    `;
  }

  private progress(upload: Upload): TemplateResult {
    const left = timeLeft(upload);
    return html`<div class="progress">
      <progress aria-label="Progress" max=${upload.total ?? nothing} value=${upload.total ? upload.done : nothing}></progress>
      <span>
        ${upload.state === 'waiting'
          ? 'Another upload runs; this one begins behind it.'
          : html`${number(upload.done)}${upload.total ? ` of ${number(upload.total)}` : ''}${left ? `, about ${left} left` : ''}`}
      </span>
    </div>`;
  }

  private counts(upload: Upload): TemplateResult {
    const { inserted, updated, unchanged = 0, refused, left } = upload.counts;
    const would = upload.mode === 'preview' ? 'would be ' : '';
    const counts: [string, string, number][] = [
      ['', 'read', upload.read],
      ['inserted', `${would}inserted`, inserted],
      ['updated', `${would}updated`, updated],
      ['unchanged', upload.mode === 'preview' ? 'would stay as they are' : 'were so already', unchanged],
      ['refused', `${would}refused`, refused],
      ['left', upload.mode === 'preview' ? 'would remain' : 'remain', left],
      ['', 'findings', upload.findings],
    ];
    return html`${shares(Object.entries({ inserted, updated, unchanged, refused, left }))}
      <dl class="counts">
        ${counts.map(([name, title, n]) => html`<div class=${name}><dt>${title}</dt><dd>${number(n)}</dd></div>`)}
      </dl>`;
  }

  private findingsOf(upload: Upload): TemplateResult | typeof nothing {
    if (isGoing(upload)) return nothing;
    if (!upload.findings) return html`<p class="muted">Nothing was found to be wrong.</p>`;
    if (!this.findings.length) return nothing;
    const some = this.findings.length < upload.findings ? `, of the first ${number(this.findings.length)}` : '';
    return html`
      <h2>Findings by field and reason${some}</h2>
      ${this.next
        ? html`<p>
            <button ?disabled=${this.fetching} @click=${() => this.takeMoreIn(upload.id)}>
              Take in the next ${number(Math.min(findingsAtOnce, upload.findings - this.findings.length))}
            </button>
          </p>`
        : nothing}
      ${bars(byFieldAndReason(this.findings))}
      <h2>Each finding${some}</h2>
      <long-list
        label="Findings"
        kind="finding"
        .head=${html`<span>Part number</span><span>Field</span><span>Value</span><span>Reason</span><span>Record</span>`}
        .items=${this.findings}
        .show=${findingRow}
      ></long-list>
    `;
  }

  private async look(signal?: AbortSignal): Promise<void> {
    const id = this.key ?? '';
    const upload = await get<Upload>(`api/v1/uploads/${encodeURIComponent(id)}`, {}, signal);
    if (signal?.aborted || id !== this.key) return;
    this.upload = upload;
    if (!isGoing(upload) && upload.findings && !this.findings.length) await this.fetchFindings(id, signal);
  }

  // The events carry the upload as it is. When they break off, the host is asked: it may be away, or the session may have ended.
  private follow(id: string): void {
    this.events?.close();
    const events = (this.events = new EventSource(`api/v1/uploads/${encodeURIComponent(id)}/events`));
    events.addEventListener('progress', (event) => {
      if (this.upload?.id === id) this.upload = JSON.parse(event.data) as Upload;
    });
    events.addEventListener('end', () => {
      events.close();
      void this.asking();
    });
    events.addEventListener('error', () => {
      events.close();
      window.setTimeout(() => {
        if (this.events === events && this.isConnected) void this.asking();
      }, pause);
    });
  }

  // So many that they can be counted by field; a page at a time, so that the first ones are seen at once.
  private async fetchFindings(id: string, signal?: AbortSignal): Promise<void> {
    const enough = this.findings.length + findingsAtOnce;
    this.fetching = true;
    try {
      do {
        const before = this.findings;
        const query = { limit: findingsAtATime, after: this.next };
        const page: Page<Finding> = await get(`api/v1/uploads/${encodeURIComponent(id)}/findings`, query, signal);
        if (this.findings !== before || id !== this.key) return;
        this.findings = [...this.findings, ...page.items];
        this.next = page.next ?? undefined;
      } while (this.next && this.findings.length < enough);
    } finally {
      this.fetching = false;
    }
  }

  private async takeMoreIn(id: string): Promise<void> {
    this.refused = undefined;
    try {
      await this.fetchFindings(id);
    } catch (failed) {
      this.refused = failed;
    }
  }

  private async send(mode: Upload['mode'], kind = this.kind): Promise<void> {
    if (!this.file) return;
    this.sending = true;
    this.refused = undefined;
    try {
      const query = { kind, mode, onErrors: this.onErrors, name: this.file.name };
      const { id } = await ask<Upload>('POST', 'api/v1/uploads', { query, body: this.file });
      this.fileOf = id;
      go(address(['upload', id]));
    } catch (failed) {
      this.refused = failed;
    } finally {
      this.sending = false;
    }
  }

  private async cancel(): Promise<void> {
    this.refused = undefined;
    try {
      await ask('DELETE', `api/v1/uploads/${encodeURIComponent(this.key ?? '')}`);
      await this.look();
    } catch (failed) {
      // One that ended a moment ago cannot be cancelled, which is no failure to anybody.
      if (failed instanceof Failure && failed.status === 409) await this.look();
      else this.refused = failed;
    }
  }

  private dragged(event: DragEvent): void {
    event.preventDefault();
    this.over = true;
  }

  private dropped(event: DragEvent): void {
    event.preventDefault();
    this.over = false;
    this.file = event.dataTransfer?.files[0] ?? this.file;
  }

  private picked(event: Event): void {
    this.file = (event.target as HTMLInputElement).files?.[0] ?? this.file;
  }
}

function uploadRow(upload: Upload): TemplateResult {
  return html`<span class="code muted">${upload.id}</span>
    <span class="day">${upload.started ? time(upload.started) : 'not yet'}</span>
    <span class="words">${titleOf(upload)}</span>
    <span class="state">${stateMark(upload)}</span>
    <span class="figure"><span class="unseen">read </span>${number(upload.read)}</span>
    <span class="figure"><span class="unseen">findings </span>${number(upload.findings)}</span>`;
}

function findingRow({ partNumber, field, value, reason, outcome }: Finding): TemplateResult {
  return html`<span class="code" title=${partNumber ?? ''}>${partNumber || none}</span>
    <span title=${field ?? ''}>${field || none}</span>
    <span title=${value ?? ''}>${value || none}</span>
    <span class="reason" title=${reason}>${reason}</span>
    <span class="muted">${outcomes[outcome] ?? outcome}</span>`;
}

function byFieldAndReason(findings: Finding[]): Bar[] {
  const counted = (names: string[]): Bar[] => {
    const counts = new Map<string, number>();
    for (const name of names) counts.set(name, (counts.get(name) ?? 0) + 1);
    return [...counts].map(([label, n]) => ({ label, n, below: [] })).sort((a, b) => b.n - a.n);
  };
  const fieldOf = ({ field }: Finding) => field || 'the whole record';
  return counted(findings.map(fieldOf)).map((bar) => {
    const reasons = counted(findings.filter((one) => fieldOf(one) === bar.label).map(({ reason }) => reason));
    return reasons.length === 1 ? { ...bar, label: `${bar.label}: ${reasons[0]?.label}` } : { ...bar, below: reasons };
  });
}

function isGoing({ state }: Upload): boolean {
  return state === 'waiting' || state === 'running';
}

// What was refused, and what was not reached.
function hasRest({ counts, done, total }: Upload): boolean {
  return counts.refused > 0 || counts.left > 0 || (total !== null && done < total);
}

function titleOf({ kind, mode, name }: Upload): string {
  return `${kinds[kind] ?? kind}, ${mode}${name ? `: ${name}` : ''}`;
}

function stateMark({ state }: Upload): TemplateResult {
  return html`<b class="mark ${state}">${states[state] ?? state}</b>`;
}

function timeLeft({ started, done, total }: Upload): string {
  if (!started || !total || !done) return '';
  const gone = (Date.now() - new Date(started).getTime()) / 1000;
  return gone > 1 && done < total ? seconds((gone / done) * (total - done)) : '';
}
