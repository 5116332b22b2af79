// The page's first requests, made as soon as this script runs, while the
// rest of the page's scripts load: the module session, and the tree's
// observer, whose documents take the module longest. The module serves one
// tree observer at a time and drops a second one, so the page takes the
// tree over from whichever page held it before (one reloaded or closed
// without a word, or another tab): any handle ends the registered observer.

import { Session } from './api.js';

// Takes the tree over for session; gives the registration's reply. The
// take-over's failure is the registration's to tell.
export async function takeTreeOver(session) {
  await session.call('UnRegisterTreeObserver', 'session').catch(() => null);
  return session.call('RegisterTreeObserver', 'session');
}

export const opening = Session.open();
export const registering = opening.then(takeTreeOver);
// Told by the page once it runs.
registering.catch(() => {});
