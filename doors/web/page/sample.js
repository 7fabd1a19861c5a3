// The picture that is there at once: evening over hills and water, drawn by arithmetic.

const mix = (a, b, part) => a.map((value, i) => value + (b[i] - value) * part);
const hill = (x, place, height, roughness) =>
    place - height * (0.6 * Math.sin(x * 2.3 + roughness) + 0.3 * Math.sin(x * 5.1 * roughness) + 0.1 * Math.sin(x * 17 + roughness));

const HILLS = [
    {place: 0.52, height: 0.09, roughness: 1.1, colour: [112, 96, 140]},
    {place: 0.60, height: 0.07, roughness: 1.9, colour: [74, 72, 112]},
    {place: 0.66, height: 0.05, roughness: 2.7, colour: [44, 58, 74]},
];
const SUN = {x: 0.68, y: 0.34, radius: 0.055};
const SHORE = 0.7;

function skyAt(x, y) {
    const sky = mix([58, 84, 150], [255, 186, 120], Math.min(1, y / 0.6));
    const distance = Math.hypot((x - SUN.x) * 1.5, y - SUN.y);
    if (distance < SUN.radius) return [255, 244, 214];
    return mix(sky, [255, 226, 170], 0.8 * Math.exp(-6 * (distance - SUN.radius)));
}

function landAt(x, y) {
    let colour = skyAt(x, y);
    for (const {place, height, roughness, colour: own} of HILLS) {
        if (y > hill(x * 4, place, height, roughness)) colour = mix(own, [20, 30, 40], Math.max(0, y - place) * 2);
    }
    return colour;
}

function waterAt(x, y) {
    const depth = (y - SHORE) / (1 - SHORE);
    const swing = 0.012 * depth * Math.sin(90 / (depth + 0.25) + 14 * x);
    return mix(landAt(x + swing, SHORE - 1.1 * (y - SHORE) - 0.03), [22, 40, 78], 0.35 + 0.3 * depth);
}

export function drawSample(width = 960, height = 640) {
    const pixels = new Uint8Array(3 * width * height);
    for (let row = 0, at = 0; row < height; ++row) {
        for (let column = 0; column < width; ++column, at += 3) {
            const x = column / width, y = row / height;
            pixels.set((y < SHORE ? landAt(x, y) : waterAt(x, y)).map(Math.round), at);
        }
    }
    return {type: 'RGB', width, height, pixels, mask: null, maskBits: 0, palette: null, format: 'png', source: null};
}
