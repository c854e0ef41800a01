// Saved requests: files in the service's folder, which `batch` reads too.
import { h, say } from './dom.js';
import { state, emit } from './state.js';
import { api } from './api.js';
import { t } from './i18n.js';
import { ask } from './dialog.js';

// Reads the list of them; without a folder there are none.
export async function loadSaved() {
  if (!state.session.folder) return;
  state.saved = (await api.requests()).requests;
  emit('saved');
}

// The list with a button to open each and one to delete it, or null.
export function savedSection(open) {
  if (!state.session?.folder || !state.saved.length) return null;
  return h(
    'section',
    { 'aria-label': t('savedRequests'), class: 'saved' },
    h('h2', {}, t('savedRequests')),
    h(
      'ul',
      {},
      state.saved.map(({ name, title }) =>
        h(
          'li',
          {},
          h('button', { type: 'button', class: 'entry', click: () => open(name), title: title ?? '' }, name),
          h(
            'button',
            { type: 'button', class: 'quiet', 'aria-label': t('remove', { name }), click: () => remove(name) },
            '×',
          ),
        ),
      ),
    ),
  );
}

async function remove(name) {
  const sure = await ask(t('removeSure', { name }), { ok: t('remove', { name: '' }).trim() });
  if (!sure) return;
  await api.deleteRequest(name);
  await loadSaved();
}

// Asks for a name and saves the request under it.
export async function saveRequest(request) {
  const answer = await ask(t('saveRequest').replace('…', ''), {
    ok: t('save'),
    fields: [{ name: 'name', label: t('nameOfRequest'), value: request.ReportTitle }],
  });
  if (!answer?.name) return;
  await api.saveRequest(answer.name, request);
  await loadSaved();
  say(t('savedAs', { name: answer.name }));
}
