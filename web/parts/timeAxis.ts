// The time that all plots of a part share: which span is seen, and where the cursor is. Times are seconds.

export type Span = [number, number];

export class TimeAxis {
  private seen: Span;
  private cursorTime: number | null = null;
  private readonly spanListeners: ((span: Span) => void)[] = [];
  private readonly cursorListeners: ((time: number | null) => void)[] = [];

  constructor(readonly full: Span) {
    this.seen = full;
  }

  get span(): Span {
    return this.seen;
  }
  get cursor(): number | null {
    return this.cursorTime;
  }

  onSpan(listener: (span: Span) => void): void {
    this.spanListeners.push(listener);
  }
  onCursor(listener: (time: number | null) => void): void {
    this.cursorListeners.push(listener);
  }

  /** Shows a span, kept within the full one and not shorter than a microsecond. */
  show(span: Span): void {
    const length = Math.min(Math.max(span[1] - span[0], 1e-6), this.full[1] - this.full[0]);
    const from = Math.min(Math.max(span[0], this.full[0]), this.full[1] - length);
    if (from === this.seen[0] && from + length === this.seen[1]) return;
    this.seen = [from, from + length];
    for (const listener of this.spanListeners) listener(this.seen);
  }
  showAll(): void {
    this.show(this.full);
  }
  /** Shows a span that is so many times as long, around the cursor if it is seen, else around the middle. */
  zoom(factor: number): void {
    const [from, to] = this.seen;
    const cursor = this.cursorTime;
    const centre = cursor !== null && cursor >= from && cursor <= to ? cursor : (from + to) / 2;
    this.show([centre - (centre - from) * factor, centre + (to - centre) * factor]);
  }
  /** Moves by a share of the span that is seen. */
  pan(share: number): void {
    const by = (this.seen[1] - this.seen[0]) * share;
    this.show([this.seen[0] + by, this.seen[1] + by]);
  }
  point(time: number | null): void {
    if (time === this.cursorTime) return;
    this.cursorTime = time;
    for (const listener of this.cursorListeners) listener(time);
  }
}
