// The picture of a layer, with classes left out that the legend hides.
const asUrl = (png) => `data:image/png;base64,${png}`;

export function pictureOf(png) {
  const plain = asUrl(png);
  let pixels = null;
  return {
    plain,
    // A picture without the colours of the hidden classes.
    async without(colours) {
      if (colours.length === 0) return plain;
      if (!pixels) {
        const image = new Image();
        image.src = plain;
        await image.decode();
        const canvas = document.createElement("canvas");
        canvas.width = image.naturalWidth;
        canvas.height = image.naturalHeight;
        const context = canvas.getContext("2d", { willReadFrequently: true });
        context.drawImage(image, 0, 0);
        pixels = { canvas, context, data: context.getImageData(0, 0, canvas.width, canvas.height) };
      }
      const hidden = new Set(colours.map(([r, g, b]) => (r << 16) | (g << 8) | b));
      const left = new ImageData(new Uint8ClampedArray(pixels.data.data), pixels.data.width, pixels.data.height);
      const data = left.data;
      for (let k = 0; k < data.length; k += 4)
        if (data[k + 3] && hidden.has((data[k] << 16) | (data[k + 1] << 8) | data[k + 2])) data[k + 3] = 0;
      pixels.context.putImageData(left, 0, 0);
      return pixels.canvas.toDataURL("image/png");
    },
  };
}
