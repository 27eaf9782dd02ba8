// The operations that may be called, asked once for all cameras.

import {get} from './api.js';

let asked = null;

export function operations() {
  asked ??= get('/operations').then(answer => answer.operations, error => {
    asked = null;
    throw error;
  });
  return asked;
}
