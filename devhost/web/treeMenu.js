// The context menu of the tree's rows (WAI-ARIA menu): opened by a right
// click, the context-menu key or Shift+F10; arrows move, Enter runs,
// Escape closes and gives focus back to the tree.

export class TreeMenu {
  constructor(element, returnFocus) {
    this.element = element;
    this.returnFocus = returnFocus;
    element.addEventListener('keydown', (event) => this.key(event));
    element.addEventListener('focusout', (event) => {
      if (!element.contains(event.relatedTarget)) this.close(false);
    });
  }

  // items: [{label, run}]
  open(items, x, y) {
    this.element.textContent = '';
    for (const { label, run } of items) {
      const item = document.createElement('button');
      item.type = 'button';
      item.setAttribute('role', 'menuitem');
      item.tabIndex = -1;
      item.textContent = label;
      item.addEventListener('click', () => {
        this.close();
        run();
      });
      this.element.append(item);
    }
    this.element.hidden = false;
    const box = this.element.getBoundingClientRect();
    this.element.style.left = `${Math.max(4, Math.min(x, innerWidth - box.width - 4))}px`;
    this.element.style.top = `${Math.max(4, Math.min(y, innerHeight - box.height - 4))}px`;
    this.items()[0]?.focus();
  }

  items() {
    return [...this.element.querySelectorAll('[role=menuitem]')];
  }

  close(focusTree = true) {
    if (this.element.hidden) return;
    this.element.hidden = true;
    if (focusTree) this.returnFocus();
  }

  key(event) {
    const items = this.items();
    const at = items.indexOf(document.activeElement);
    switch (event.key) {
      case 'ArrowDown': items[(at + 1) % items.length].focus(); break;
      case 'ArrowUp': items[(at - 1 + items.length) % items.length].focus(); break;
      case 'Home': items[0].focus(); break;
      case 'End': items[items.length - 1].focus(); break;
      case 'Escape': case 'Tab': this.close(); break;
      default: {
        if (event.key.length !== 1 || event.key === ' ') return;
        const found = items.find((item, i) => i > at && item.textContent.toLowerCase().startsWith(event.key.toLowerCase()))
          ?? items.find((item) => item.textContent.toLowerCase().startsWith(event.key.toLowerCase()));
        found?.focus();
      }
    }
    event.preventDefault();
  }
}
