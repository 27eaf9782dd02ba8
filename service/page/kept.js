// What somebody has chosen of the page's looks, kept in the browser.

const prefix = 'vornhost.';

export function kept(name) {
  try {
    return JSON.parse(localStorage.getItem(prefix + name)) ?? {};
  } catch {
    return {};
  }
}

export function keep(name, value) {
  try {
    localStorage.setItem(prefix + name, JSON.stringify(value));
  } catch {
    // A browser that keeps nothing forgets it with the tab.
  }
}
