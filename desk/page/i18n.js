// Chinese and English, by the browser's language until somebody switches.
import { recall, remember } from './settings.js';
import { emit } from './state.js';
import { texts } from './texts.js';

let language = recall('language', navigator.language.toLowerCase().startsWith('zh') ? 'zh' : 'en');

// 'zh' or 'en'.
export const languageNow = () => language;

// The page's text of that key, with {name} replaced by what `parts` has for it.
export function t(key, parts = {}) {
  const text = texts[key][language === 'zh' ? 0 : 1];
  return text.replace(/\{(\w+)\}/g, (_, name) => parts[name]);
}

// What something with names in both languages is called: a title, a column, an option, a filter.
export function label(thing) {
  const { zh = thing.caption, en = thing.english } = thing;
  return (language === 'zh' ? zh || en : en || zh) || thing.name || '';
}

// The text `key` of a note or a finding, whose Chinese, where it has one, is `key`_zh.
export const told = (thing, key) => (language === 'zh' && thing[`${key}_zh`]) || thing[key];

// Writes the texts of the elements that name a key: data-t for their content, data-t-label for their name.
export function translate(root = document) {
  for (const element of root.querySelectorAll('[data-t]')) element.textContent = t(element.dataset.t);
  for (const element of root.querySelectorAll('[data-t-label]'))
    element.setAttribute('aria-label', t(element.dataset.tLabel));
}

// Switches the page's language.
export function setLanguage(code) {
  language = code === 'zh' ? 'zh' : 'en';
  remember('language', language);
  document.documentElement.lang = language === 'zh' ? 'zh-CN' : 'en';
  translate();
  emit('language');
}
