// The one box with the values under the pointer.
let box = null;

export function showTip(event, text) {
  if (!box) {
    box = document.createElement("div");
    box.className = "tip";
    box.setAttribute("aria-hidden", "true");
    document.body.append(box);
  }
  if (!text) {
    box.hidden = true;
    return;
  }
  box.textContent = text;
  box.hidden = false;
  const wide = box.offsetWidth, high = box.offsetHeight;
  const left = event.clientX + 14 + wide > innerWidth ? event.clientX - 14 - wide : event.clientX + 14;
  const top = event.clientY + 14 + high > innerHeight ? event.clientY - 14 - high : event.clientY + 14;
  box.style.left = `${Math.max(4, left)}px`;
  box.style.top = `${Math.max(4, top)}px`;
}
