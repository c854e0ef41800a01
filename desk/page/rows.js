// The rows of a run in windows, fetched as they come into sight, so that a million need no more memory than
// a thousand.
import { api } from './api.js';

const kPage = 200; // rows of a window
const kKept = 60; // windows kept
const kMost = 2000; // rows that the service gives at once

export class RowSource {
  // Reads run `id` through `view` ({sort, where}); `arrived` is called whenever rows have come, `failed` with
  // an error.
  constructor(id, view, arrived, failed) {
    Object.assign(this, { id, view, arrived, failed, total: null });
    this.pages = new Map(); // number → rows, in the order of their last use
    this.asked = new Map(); // number → AbortController
  }

  // The row of that index, or undefined while it is not here.
  row(index) {
    return this.pages.get(Math.floor(index / kPage))?.[index % kPage];
  }

  // Fetches what rows `from` to `to` lack, and gives up what is under way for others.
  want(from, to) {
    const first = Math.floor(Math.max(0, from) / kPage);
    const last = Math.floor(Math.max(0, to) / kPage);
    for (const [number, controller] of this.asked) {
      if (number < first - 1 || number > last + 1) controller.abort();
    }
    for (let number = first; number <= last; ++number) this.fetchPage(number);
  }

  // All rows from `from` to `to`, fetched where they are not here. Throws ApiError.
  async slice(from, to) {
    const rows = [];
    for (let next = from; next < to;) {
      const answer = await api.rows(this.id, this.view, next, Math.min(kMost, to - next));
      if (!answer.rows.length) break;
      rows.push(...answer.rows);
      next += answer.rows.length;
    }
    return rows;
  }

  // Lets go of everything under way; nothing arrives from now on.
  close() {
    this.arrived = this.failed = () => {};
    for (const controller of this.asked.values()) controller.abort();
  }

  async fetchPage(number) {
    const known = this.pages.get(number);
    if (known) {
      this.pages.delete(number); // the oldest stand first
      this.pages.set(number, known);
      return;
    }
    if (this.asked.has(number) || (this.total !== null && number * kPage >= this.total && number > 0)) return;
    const controller = new AbortController();
    this.asked.set(number, controller);
    try {
      const { total, rows } = await api.rows(this.id, this.view, number * kPage, kPage, controller.signal);
      this.total = total;
      this.pages.set(number, rows);
      for (const oldest of this.pages.keys()) {
        if (this.pages.size <= kKept) break;
        this.pages.delete(oldest);
      }
      this.asked.delete(number);
      this.arrived();
    } catch (error) {
      this.asked.delete(number);
      if (error.name !== 'AbortError') this.failed(error);
    }
  }
}
