// Pictures that the browser decodes and the library does not. Their colours come out as they are stored, also where they are
// all but transparent.

import {pictureOfImageData} from './pixels.js';

// Through a texture: a canvas keeps colours multiplied with their alpha, and gives others back. Null where there is no WebGL,
// or none for so large a picture.
function storedBytes(bitmap) {
    const {width, height} = bitmap, gl = new OffscreenCanvas(1, 1).getContext('webgl');
    if (!gl || Math.max(width, height) > gl.getParameter(gl.MAX_TEXTURE_SIZE)) return null;
    gl.bindTexture(gl.TEXTURE_2D, gl.createTexture());
    gl.pixelStorei(gl.UNPACK_PREMULTIPLY_ALPHA_WEBGL, false);
    gl.pixelStorei(gl.UNPACK_COLORSPACE_CONVERSION_WEBGL, gl.NONE);
    gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA, gl.RGBA, gl.UNSIGNED_BYTE, bitmap);
    gl.bindFramebuffer(gl.FRAMEBUFFER, gl.createFramebuffer());
    gl.framebufferTexture2D(gl.FRAMEBUFFER, gl.COLOR_ATTACHMENT0, gl.TEXTURE_2D, gl.getParameter(gl.TEXTURE_BINDING_2D), 0);
    const data = new Uint8Array(4 * width * height);
    gl.readPixels(0, 0, width, height, gl.RGBA, gl.UNSIGNED_BYTE, data);
    const failed = gl.getError() !== gl.NO_ERROR;
    gl.getExtension('WEBGL_lose_context')?.loseContext();   // and with it its memory
    return failed ? null : data;
}

function bytesOfCanvas(bitmap) {
    const context = new OffscreenCanvas(bitmap.width, bitmap.height).getContext('2d');
    context.drawImage(bitmap, 0, 0);
    return context.getImageData(0, 0, bitmap.width, bitmap.height).data;
}

// {picture, bitmap} of a Blob; `check(bitmap)` may refuse it by its size.
export async function decodeByBrowser(blob, check) {
    const bitmap = await createImageBitmap(blob, {premultiplyAlpha: 'none', colorSpaceConversion: 'none'});
    check(bitmap);
    const {width, height} = bitmap, data = storedBytes(bitmap) ?? bytesOfCanvas(bitmap);
    return {picture: pictureOfImageData({data, width, height}), bitmap};
}
