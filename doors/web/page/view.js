// The canvas on which the picture is looked at: enlarged, dragged, compared with what was before, and selected on. It
// draws bitmaps of whatever size over the picture's place, so a smaller preview lies where the exact one will.

const MOST_ENLARGED = 32, WHEEL_STEP = 1.0015, KEY_STEP = 1.25, PAN_STEP = 40;

// `heard`: {area(area), divider(part)}: a person has selected, has moved the divider.
export function makeView(canvas, heard) {
    const context = canvas.getContext('2d');
    const view = {
        width: 1, height: 1,             // of the picture
        before: null, after: null,       // bitmaps; `after` may be missing
        former: null,                    // {bitmap, width, height}: what `before` is held against without an `after`
        part: null,                      // {bitmap, x, y, width, height} over `after`, in its pixels
        scale: 1, left: 0, top: 0,       // of the picture's corner, in the canvas' own pixels
        fits: true,
        holding: false,                  // only what was before is shown
        divider: null,                   // 0..1 of the canvas, or null
        selecting: false, area: null,
        wanted: false,
    };
    const ratio = () => window.devicePixelRatio || 1;

    //---- Drawing

    function draw() {
        view.wanted = false;
        context.setTransform(1, 0, 0, 1, 0, 0);
        context.clearRect(0, 0, canvas.width, canvas.height);
        if (!view.before) return;
        const [left, right] = compared();
        if (view.holding && left) drawBitmap(left, 0, canvas.width);
        else if (view.divider === null || !left) drawBitmap(right, 0, canvas.width, view.part);
        else {
            const x = Math.round(view.divider * canvas.width);
            drawBitmap(left, 0, x);
            drawBitmap(right, x, canvas.width, view.part);
            context.fillStyle = '#fff';
            context.fillRect(x - ratio(), 0, 2 * ratio(), canvas.height);
        }
        if (view.area) drawArea(view.area);
    }

    // What was before, or null, and what is.
    const compared = () => (view.after ? [view.before, view.after] : [view.former?.bitmap, view.before]);

    // The picture's own size is that of `before`; an effect may have made the other larger.
    function sizeOf(bitmap) {
        if (bitmap === view.former?.bitmap) return [view.former.width, view.former.height];
        return bitmap === view.before && bitmap !== view.after ? [view.width, view.height] : [view.afterWidth, view.afterHeight];
    }

    function drawBitmap(bitmap, from, to, part = null) {
        const [width, height] = sizeOf(bitmap);
        context.save();
        context.beginPath();
        context.rect(from, 0, to - from, canvas.height);
        context.clip();
        context.imageSmoothingEnabled = view.scale < 2 || bitmap.width !== width;
        context.drawImage(bitmap, view.left, view.top, width * view.scale, height * view.scale);
        if (part) drawPart(part);
        context.restore();
    }

    function drawPart({bitmap, x, y, width, height}) {
        context.imageSmoothingEnabled = view.scale < 2;
        context.drawImage(bitmap, view.left + x * view.scale, view.top + y * view.scale, width * view.scale, height * view.scale);
    }

    function drawArea({x, y, width, height}) {
        const rectangle = [view.left + x * view.scale, view.top + y * view.scale, width * view.scale, height * view.scale];
        context.lineWidth = ratio();
        for (const [colour, offset] of [['#000', 0], ['#fff', 4 * ratio()]]) {
            context.strokeStyle = colour;
            context.setLineDash([4 * ratio(), 4 * ratio()]);
            context.lineDashOffset = offset;
            context.strokeRect(...rectangle);
        }
        context.setLineDash([]);
    }

    function redraw() {
        if (view.wanted) return;
        view.wanted = true;
        requestAnimationFrame(draw);
    }

    //---- Looking

    const fittingScale = () => Math.min(canvas.width / view.width, canvas.height / view.height);

    function clamp() {
        const between = (place, picture, window) =>
            picture <= window ? (window - picture) / 2 : Math.min(0, Math.max(window - picture, place));
        view.left = between(view.left, view.width * view.scale, canvas.width);
        view.top = between(view.top, view.height * view.scale, canvas.height);
        redraw();
    }

    function fit() {
        view.fits = true;
        view.scale = Math.min(fittingScale(), ratio());
        clamp();
    }

    function zoomTo(scale, x = canvas.width / 2, y = canvas.height / 2) {
        const next = Math.min(Math.max(scale, Math.min(fittingScale(), ratio())), MOST_ENLARGED * ratio());
        view.fits = next <= fittingScale();
        view.left = x - (x - view.left) * next / view.scale;
        view.top = y - (y - view.top) * next / view.scale;
        view.scale = next;
        clamp();
    }

    //---- Pointers

    const placeOf = event => {
        const box = canvas.getBoundingClientRect();
        return {x: (event.clientX - box.left) * ratio(), y: (event.clientY - box.top) * ratio()};
    };
    const pixelAt = ({x, y}) => ({
        x: Math.min(Math.max(Math.floor((x - view.left) / view.scale), 0), view.width - 1),
        y: Math.min(Math.max(Math.floor((y - view.top) / view.scale), 0), view.height - 1),
    });
    const pointers = new Map();
    let gesture = null;   // {kind: 'pan' | 'pinch' | 'divider' | 'select', ...}

    const nearDivider = ({x}) => view.divider !== null && compared()[0] && Math.abs(x - view.divider * canvas.width) < 12 * ratio();

    canvas.addEventListener('pointerdown', event => {
        canvas.setPointerCapture(event.pointerId);
        const place = placeOf(event);
        pointers.set(event.pointerId, place);
        if (pointers.size === 2) {
            const [a, b] = [...pointers.values()];
            gesture = {kind: 'pinch', distance: Math.hypot(a.x - b.x, a.y - b.y), scale: view.scale};
        } else if (nearDivider(place)) gesture = {kind: 'divider'};
        else if (view.selecting) gesture = {kind: 'select', from: pixelAt(place)};
        else gesture = {kind: 'pan', from: place, left: view.left, top: view.top};
    });

    const moves = {
        pan(place) {
            view.left = gesture.left + place.x - gesture.from.x;
            view.top = gesture.top + place.y - gesture.from.y;
            clamp();
        },
        pinch() {
            const [a, b] = [...pointers.values()];
            const distance = Math.hypot(a.x - b.x, a.y - b.y);
            zoomTo(gesture.scale * distance / gesture.distance, (a.x + b.x) / 2, (a.y + b.y) / 2);
        },
        divider(place) {
            setDivider(Math.min(Math.max(place.x / canvas.width, 0), 1));
            heard.divider(view.divider);
        },
        select(place) {
            const to = pixelAt(place), {from} = gesture;
            view.area = {x: Math.min(from.x, to.x), y: Math.min(from.y, to.y),
                width: Math.abs(from.x - to.x) + 1, height: Math.abs(from.y - to.y) + 1};
            redraw();
        },
    };

    canvas.addEventListener('pointermove', event => {
        if (!pointers.has(event.pointerId)) return;
        pointers.set(event.pointerId, placeOf(event));
        if (gesture && (gesture.kind !== 'pinch' || pointers.size === 2)) moves[gesture.kind](placeOf(event));
    });

    for (const name of ['pointerup', 'pointercancel']) {
        canvas.addEventListener(name, event => {
            pointers.delete(event.pointerId);
            if (gesture?.kind === 'select') heard.area(view.area);
            gesture = null;
        });
    }

    canvas.addEventListener('wheel', event => {
        event.preventDefault();
        const {x, y} = placeOf(event);
        zoomTo(view.scale * WHEEL_STEP ** -event.deltaY, x, y);
    }, {passive: false});

    canvas.addEventListener('keydown', event => {
        const pan = {ArrowLeft: [1, 0], ArrowRight: [-1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1]}[event.key];
        if (pan) {
            view.left += pan[0] * PAN_STEP * ratio();
            view.top += pan[1] * PAN_STEP * ratio();
            clamp();
        } else if (event.key === '+' || event.key === '=') zoomTo(view.scale * KEY_STEP);
        else if (event.key === '-') zoomTo(view.scale / KEY_STEP);
        else if (event.key === '0') fit();
        else if (event.key === '1') zoomTo(ratio());
        else return;
        event.preventDefault();
    });

    new ResizeObserver(() => {
        const box = canvas.getBoundingClientRect();
        canvas.width = Math.max(1, Math.round(box.width * ratio()));
        canvas.height = Math.max(1, Math.round(box.height * ratio()));
        if (view.fits) fit();
        else clamp();
        draw();   // at once: a canvas of another size is empty, which is not to be seen
    }).observe(canvas);

    //---- For the page

    function setDivider(part) {
        view.divider = part;
        redraw();
    }

    return {
        // The picture as it stands, and its size; `former`, what it was made from, or null. What a preview shows goes.
        showPicture(bitmap, width, height, former) {
            const sameSize = width === view.width && height === view.height;
            Object.assign(view, {before: bitmap, after: null, part: null, former, width, height});
            if (view.fits || !sameSize) fit();
            redraw();
        },
        // A preview over it, of any resolution; null takes it away. `width` and `height` are what Apply would leave.
        showPreview(bitmap, width = view.width, height = view.height) {
            Object.assign(view, {after: bitmap, part: null, afterWidth: width, afterHeight: height});
            redraw();
        },
        // A part of the preview that is better than what is shown there. Where there is no preview yet it waits for none.
        showPart(part) {
            if (!view.after) Object.assign(view, {after: view.before, afterWidth: view.width, afterHeight: view.height});
            view.part = part;
            redraw();
        },
        // What of the canvas the picture may be seen in, in the picture's pixels: also beyond its edges.
        seen() {
            const x = Math.floor(-view.left / view.scale), y = Math.floor(-view.top / view.scale);
            return {x, y, width: Math.ceil((canvas.width - view.left) / view.scale) - x,
                height: Math.ceil((canvas.height - view.top) / view.scale) - y};
        },
        hold(on) { view.holding = on; redraw(); },
        setDivider,
        setSelecting(on) { view.selecting = on; },
        setArea(area) { view.area = area; redraw(); },
        fit,
        actual: () => zoomTo(ratio()),
        zoom: factor => zoomTo(view.scale * factor),
    };
}
