// Figures are drawn anew for paper, so that their letters keep the size of the text.
export const paperWidth = 690; // of A4 and Letter within the margins, at the browser's 96 dots an inch

export function redrawForPaper(element, redraw, screenWidth, width = paperWidth) {
  addEventListener("beforeprint", () => element.isConnected && redraw(width));
  addEventListener("afterprint", () => element.isConnected && screenWidth() > 0 && redraw(screenWidth()));
}
