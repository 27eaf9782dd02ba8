// The camera's picture as it comes. Each is fetched by itself, so that no connection is kept for a picture.

import {h, labelled, replace, setText} from './dom.js';
import {errorText} from './notices.js';
import {fetchPicture, forgetPicture, showPicture} from './pictures.js';
import {causeText, texts} from './texts.js';
import {ageText, clock, pause} from './time.js';

const words = texts.picture;
const longestWait = 500;
const oldAge = 2000;
const pauseAfterFailure = 2000;
const shortestPause = 40;

export class LivePicture {
  stream = '';
  number = 0;
  time = '';

  constructor(name) {
    this.name = name;
    this.image = h('img', {class: 'live-image', alt: words.of(name), hidden: true, draggable: 'false'});
    this.age = h('span', {class: 'picture-age'}, words.waiting);
    this.failure = h('p', {class: 'picture-failure', hidden: true});
    this.streams = h('select', {on: {change: () => this.choose(this.streams.value)}});
    this.frame = h('div', {class: 'live-frame', data: {state: 'waiting'}}, this.image, this.failure);
    this.element = h('section', {class: 'live card', 'aria-label': words.title}, this.frame,
      h('div', {class: 'live-foot'}, this.age,
        this.streamsField = labelled(words.stream, this.streams, 'field inline')));
    this.offer([]);
    this.onVisible = () => this.start();
    document.addEventListener('visibilitychange', this.onVisible);
    this.ticking = setInterval(() => this.renewAge(), 100);
  }

  offer(streams) {
    const known = streams.join('\n');
    if (known === this.offered)
      return;
    this.offered = known;
    this.streamsField.hidden = streams.length === 0;
    replace(this.streams, h('option', {value: ''}, words.anyStream),
      streams.map(stream => h('option', {value: stream, selected: stream === this.stream},
                    texts.settings.stream(stream))));
  }

  choose(stream) {
    this.stream = stream;
    this.number = 0;
    this.start();
  }

  // Asked for pictures only while the camera can have some; `problem` says why it cannot.
  allow(isAllowed, problem) {
    if (!isAllowed && problem)
      this.fail({problem});
    if (isAllowed === this.isAllowed)
      return;
    this.isAllowed = isAllowed;
    this.start();
  }

  // Whatever ran before ends; nothing runs while nobody can see it.
  start() {
    this.abort?.abort();
    this.abort = new AbortController();
    if (this.isAllowed && !document.hidden && !this.isClosed)
      this.run(this.abort.signal);
  }

  async run(signal) {
    while (!signal.aborted) {
      await pause(await this.renew(signal));
    }
  }

  async renew(signal) {
    try {
      const picture = await fetchPicture(this.name, {
        kind: 'live',
        stream: this.stream,
        after: this.number,
        wait: longestWait,
        signal,
      });
      if (picture && signal.aborted)
        URL.revokeObjectURL(picture.url);
      else if (picture)
        await this.show(picture);
      return shortestPause;
    } catch (error) {
      if (error.name !== 'AbortError')
        this.fail(error);
      return pauseAfterFailure;
    }
  }

  async show(picture) {
    this.number = picture.number;
    this.time = picture.time;
    await showPicture(this.image, picture);
    this.image.hidden = false;
    this.failure.hidden = true;
    this.renewAge();
  }

  fail(error) {
    const why = error.isAway ? words.lost : error.problem ? causeText(error.problem) : errorText(error);
    setText(this.failure, `${words.none}: ${why}`);
    this.failure.hidden = false;
    if (this.time)
      return;
    this.frame.dataset.state = 'none';
    setText(this.age, words.none);
  }

  renewAge() {
    if (!this.time)
      return;
    const age = clock.age(this.time);
    const isOld = age > oldAge;
    this.frame.dataset.state = isOld ? 'old' : 'live';
    setText(this.age, isOld ? words.old(ageText(age)) : words.live(ageText(age)));
  }

  close() {
    this.isClosed = true;
    this.abort?.abort();
    clearInterval(this.ticking);
    document.removeEventListener('visibilitychange', this.onVisible);
    forgetPicture(this.image);
  }
}
