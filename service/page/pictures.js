// Fetches one picture after the other of a camera, each only when there is a newer one.

import {cameraPath, errorOf, send} from './api.js';
import {withPictureSlot} from './picture-slots.js';

function pictureUrl(name, {stream, after, wait}) {
  const query = new URLSearchParams({after: String(after), wait: String(wait)});
  if (stream)
    query.set('stream', stream);
  return cameraPath(name, `/picture.jpg?${query}`);
}

// {number, time, url}, or null where none is newer. The URL is the caller's to revoke.
export function fetchPicture(name, {kind, stream = '', after = 0, wait = 0, signal}) {
  return withPictureSlot(kind, async () => {
    if (signal?.aborted)
      return null;
    const response = await send('GET', pictureUrl(name, {stream, after, wait}), undefined, {
      headers: {Accept: 'image/jpeg, application/problem+json'},
      signal,
      priority: kind === 'live' ? 'auto' : 'low',
    });
    if (response.status === 204)
      return null;
    if (!response.ok)
      throw await errorOf(response);
    return {
      number: Number(response.headers.get('X-Picture-Number')),
      time: response.headers.get('X-Picture-Time'),
      url: URL.createObjectURL(await response.blob()),
    };
  });
}

// Puts a fetched picture into an image, and lets go of the one before once it no longer shows.
export async function showPicture(image, picture) {
  const before = image.dataset.url;
  image.src = picture.url;
  image.dataset.url = picture.url;
  try {
    await image.decode?.();
  } catch {
    // A picture that cannot be decoded shows nothing; the next one comes soon.
  }
  if (before)
    URL.revokeObjectURL(before);
}

export function forgetPicture(image) {
  if (image.dataset.url)
    URL.revokeObjectURL(image.dataset.url);
  delete image.dataset.url;
  image.removeAttribute('src');
}
