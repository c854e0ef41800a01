// What the browser remembers between visits. A browser that refuses to remember only forgets.

const kPrefix = 'ledgerwick.';

// The value kept under `key`, or `otherwise`.
export function recall(key, otherwise) {
  try {
    return JSON.parse(localStorage.getItem(kPrefix + key)) ?? otherwise;
  } catch {
    return otherwise;
  }
}

// Keeps a value, anything that JSON can hold.
export function remember(key, value) {
  try {
    localStorage.setItem(kPrefix + key, JSON.stringify(value));
  } catch {
    // Forgetting is no reason to stop.
  }
}
