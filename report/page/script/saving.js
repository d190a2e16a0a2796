// Figures as files.
function download(name, blob) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = name;
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

export function saveSvg(name, text) {
  download(`${name}.svg`, new Blob([text], { type: "image/svg+xml" }));
}

// Twice the size on the screen, on white.
export async function savePng(name, text, width, height) {
  const picture = new Image();
  picture.src = URL.createObjectURL(new Blob([text], { type: "image/svg+xml" }));
  await picture.decode();
  const canvas = document.createElement("canvas");
  canvas.width = Math.round(2 * width);
  canvas.height = Math.round(2 * height);
  const context = canvas.getContext("2d");
  context.fillStyle = "#fff";
  context.fillRect(0, 0, canvas.width, canvas.height);
  context.drawImage(picture, 0, 0, canvas.width, canvas.height);
  URL.revokeObjectURL(picture.src);
  const blob = await new Promise((done) => canvas.toBlob(done, "image/png"));
  download(`${name}.png`, blob);
}
