// Where the outcome of what the user did is told: beside it. Each place has
// a status line (role "status", for outcomes) and an alert line (role
// "alert", for failures); the banner tells of what stops the whole page.

export class Notices {
  // place: an element holding one [role=status].outcome and one
  // [role=alert].alert-line, or the two elements themselves.
  constructor(status, alert) {
    this.status = status;
    this.alert = alert;
  }

  static of(container) {
    return new Notices(container.querySelector('.outcome'), container.querySelector('.alert-line'));
  }

  busy(text) {
    this.alert.textContent = '';
    this.status.textContent = text;
  }

  done(text, extra = null) {
    this.alert.textContent = '';
    this.status.textContent = text;
    if (extra) this.status.append(' ', extra);
  }

  failed(text, extra = null) {
    this.status.textContent = '';
    this.alert.textContent = text;
    if (extra) this.alert.append(' ', extra);
  }
}

// A banner across the page, with one action; shown until cleared.
export class Banner {
  constructor(element) {
    this.element = element;
    this.text = element.querySelector('#banner-text');
    this.button = element.querySelector('#banner-action');
    this.kind = null;
    this.button.addEventListener('click', () => this.action?.());
  }

  show(kind, text, actionText = null, action = null) {
    this.kind = kind;
    this.text.textContent = text;
    this.action = action;
    this.button.hidden = !actionText;
    this.button.textContent = actionText ?? '';
    this.element.hidden = false;
    this.element.dataset.kind = kind;
  }

  clear(kind) {
    if (kind && this.kind !== kind) return;
    this.kind = null;
    this.element.hidden = true;
    this.text.textContent = '';
  }
}
