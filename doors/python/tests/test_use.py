"""Pictures of every kind go in and come back as what they were; settings, steps and lists say what they mean."""

import inspect
import pickle

import numpy as np
import PIL.Image
import pytest

import velmorant
from conftest import TYPES, command_line, picture_of, random_array, same

STEPS = "wave --amplitude 9 --wavelength 12"


#---- Lists

def test_every_effect_tells_its_settings():
    effects = velmorant.effects()
    assert len(effects) >= 20 and len({effect.name for effect in effects}) == len(effects)
    for effect in effects:
        assert effect.summary and effect.types and effect.settings
        for setting in effect.settings:
            assert setting.kind in ("number", "numbers", "kernel", "choice", "switch", "colour", "file")
            assert setting.meaning and all(choice.meaning for choice in setting.choices), (effect.name, setting.name)
            if setting.kind == "number":
                assert setting.range[0] <= setting.default <= setting.range[1]
            if setting.kind == "choice":
                assert setting.default in [choice.word for choice in setting.choices]


def test_a_function_teaches_what_the_list_says():
    assert velmorant.oil_painting is velmorant.oil_painting
    for effect in velmorant.effects():
        function = getattr(velmorant, effect.function)
        signature = inspect.signature(function)
        assert ("edges" in signature.parameters) == effect.takes_edges
        assert ("fringe" in signature.parameters) == effect.takes_fringe
        for setting in effect.settings:
            assert setting.keyword in signature.parameters
            if setting.kind == "number":
                assert signature.parameters[setting.keyword].default == setting.default
            assert setting.keyword + ":" in function.__doc__ and setting.meaning in function.__doc__
        assert effect.about in function.__doc__
        assert effect.function in dir(velmorant) and effect.function in velmorant.__all__


def test_the_installed_stubs_are_those_of_the_list():
    from pathlib import Path
    from velmorant import _stubs
    folder = Path(velmorant.__file__).parent
    written = (folder / "__init__.pyi").read_text()
    assert written == _stubs.stubs()
    compile(written, "__init__.pyi", "exec")
    assert (folder / "py.typed").exists()
    for effect in velmorant.effects():
        assert f"def {effect.function}(" in written


def test_kernels_are_listed():
    kernel = velmorant.kernel("gaussian 3 by 3")
    assert kernel.name == "Gaussian 3 by 3" and kernel.divisor == 16 and kernel.elements[3][3] == 4
    assert len(velmorant.kernels()) > 50


#---- Kinds of pictures

@pytest.mark.parametrize("shape", ["rgb", "grey", "grey x 1", "alpha", "grey alpha", "bool"])
def test_an_array_comes_back_as_an_array_of_its_shape(shape):
    array = {"rgb": random_array(3), "grey": random_array(1), "grey x 1": random_array(1)[:, :, None],
             "alpha": random_array(4), "grey alpha": random_array(2), "bool": random_array(1) > 128}[shape]
    before = array.copy()
    result = velmorant.apply(array, STEPS)
    assert type(result) is np.ndarray and result.shape == array.shape and result.dtype == array.dtype
    assert np.array_equal(array, before) and not np.array_equal(result, before)
    assert not np.shares_memory(result, array)


def test_alpha_is_the_mask():
    pixels, alpha = random_array(3), random_array(1, seed=9)
    both = np.dstack([pixels, alpha])
    moved = velmorant.apply(both, STEPS)
    picture = velmorant.apply(velmorant.Picture(both), STEPS)
    assert np.array_equal(picture.array(), moved) and np.array_equal(picture.mask.array(), moved[:, :, 3])
    assert not np.array_equal(moved[:, :, 3], alpha)


def test_a_mask_that_is_given_besides_is_taken_as_it_is():
    pixels, alpha = random_array(3), random_array(1, seed=9)
    moved = velmorant.apply(np.dstack([pixels, alpha]), STEPS + " --fringe as-is")
    picture = velmorant.apply(velmorant.Picture(pixels, mask=alpha), STEPS)
    assert np.array_equal(picture.array(), moved) and np.array_equal(picture.mask.array(), moved[:, :, 3])


def test_a_mask_is_the_command_lines(rgb, tmp_path):
    mask = random_array(1, seed=9)
    PIL.Image.fromarray(rgb).save(tmp_path / "in.png")
    PIL.Image.fromarray(mask).save(tmp_path / "mask.png")
    assert command_line("apply", "wave", tmp_path / "in.png", tmp_path / "out.png", "--mask", tmp_path / "mask.png",
                        "--mask-output", tmp_path / "moved.png").returncode == 0
    result = velmorant.wave(velmorant.Picture(rgb), mask=mask)
    assert np.array_equal(result.array()[:, :, :3], velmorant.Picture.open(tmp_path / "out.png").array())
    assert np.array_equal(result.mask.array(), velmorant.Picture.open(tmp_path / "moved.png").array())
    for other in (mask, PIL.Image.fromarray(mask), velmorant.Picture(mask)):
        assert np.array_equal(velmorant.wave(rgb, mask=other), result.array()[:, :, :3])
    with pytest.raises(ValueError):
        velmorant.wave(rgb, mask=mask[:-1])


def test_an_area_says_where(rgb):
    result = velmorant.solarize(rgb, area=(10, 5, 20, 8))
    outside = np.ones(rgb.shape[:2], bool)
    outside[5:13, 10:30] = False
    assert np.array_equal(result[outside], rgb[outside]) and not np.array_equal(result, rgb)
    assert np.array_equal(velmorant.apply(rgb, "solarize --area 10,5,20x8", area=(0, 0, 1, 1)), result)
    with pytest.raises(ValueError, match="outside"):
        velmorant.solarize(rgb, area=(1000, 0, 5, 5))


def test_objects_lie_over_the_picture(rgb):
    result = velmorant.solarize(rgb, objects=[(np.zeros((6, 7, 3), np.uint8), 3, 4)], scope="image")
    assert not result[4:10, 3:10].any()
    assert np.array_equal(result[20:], velmorant.solarize(rgb)[20:])


@pytest.mark.parametrize("mode", ["1", "L", "P", "LA", "RGB", "RGBA"])
def test_an_image_comes_back_in_its_mode(mode):
    image = PIL.Image.fromarray(random_array(3)).convert("L" if mode == "LA" else mode)
    image = image.convert(mode)
    image.info["dpi"] = (300, 300)
    before = image.tobytes()
    result = velmorant.apply(image, STEPS)
    assert result.mode == mode and result.size == image.size and result.info["dpi"] == (300, 300)
    assert image.tobytes() == before and result.tobytes() != before
    if mode == "P":
        assert result.getpalette() == image.getpalette()
    if mode in ("L", "RGB", "RGBA", "1"):
        assert np.array_equal(np.asarray(result), velmorant.apply(np.asarray(image), STEPS))


def test_a_palette_image_with_few_colours_keeps_its_indices():
    image = PIL.Image.new("P", (40, 30))
    image.putpalette([255, 0, 0, 0, 255, 0, 0, 0, 255])
    image.paste(2, (10, 10, 20, 20))
    result = velmorant.apply(image, "mirror --direction left")
    assert set(np.unique(np.asarray(result))) <= {0, 2} and result.getpalette()[:9] == image.getpalette()[:9]


def test_buffers_of_other_makers_come_back_as_views(rgb):
    for memory in (rgb.tobytes(), bytearray(rgb.tobytes())):
        view = memoryview(memory).cast("B", rgb.shape)
        result = velmorant.apply(view, STEPS)
        assert isinstance(result, memoryview) and result.shape == rgb.shape
        assert np.array_equal(np.asarray(result), velmorant.apply(rgb, STEPS))


@pytest.mark.parametrize("name", ["flipped", "mirrored", "every second column", "every second row", "transposed", "fortran",
                                  "padded rows", "channels reversed", "broadcast", "part"])
def test_strides_are_honoured(name):
    wide = random_array(3, 60, 80)
    array = {"flipped": wide[::-1], "mirrored": wide[:, ::-1], "every second column": wide[:, ::2],
             "every second row": wide[::2], "transposed": wide.transpose(1, 0, 2), "fortran": np.asfortranarray(wide),
             "padded rows": np.pad(wide, ((0, 0), (0, 5), (0, 0)))[:, :80], "channels reversed": wide[:, :, ::-1],
             "broadcast": np.broadcast_to(wide[:1], wide.shape), "part": wide[7:31, 11:40]}[name]
    assert np.array_equal(velmorant.apply(array, STEPS), velmorant.apply(np.ascontiguousarray(array), STEPS))


def test_out_is_where_the_result_goes(rgb):
    expected = velmorant.apply(rgb, STEPS)
    out = np.zeros_like(rgb)
    assert velmorant.apply(rgb, STEPS, out=out) is out and np.array_equal(out, expected)
    padded = np.full((rgb.shape[0], rgb.shape[1] + 9, 3), 77, np.uint8)
    velmorant.apply(rgb, STEPS, out=padded[:, :-9])
    assert np.array_equal(padded[:, :-9], expected) and (padded[:, -9:] == 77).all()
    sparse = np.zeros((rgb.shape[0], 2 * rgb.shape[1], 3), np.uint8)
    velmorant.apply(rgb, STEPS, out=sparse[:, ::2])
    assert np.array_equal(sparse[:, ::2], expected) and not sparse[:, 1::2].any()
    own = rgb.copy()
    assert velmorant.apply(own, STEPS, out=own) is own and np.array_equal(own, expected)


def test_out_of_images_and_pictures(rgb):
    image = PIL.Image.fromarray(rgb)
    out = PIL.Image.new("RGB", image.size)
    assert velmorant.apply(image, STEPS, out=out) is out
    assert np.array_equal(np.asarray(out), velmorant.apply(rgb, STEPS))
    picture = velmorant.Picture(rgb)
    assert velmorant.apply(picture, STEPS, out=picture) is picture
    assert np.array_equal(picture.array(), np.asarray(out))


def test_a_result_may_have_another_size(rgb):
    result = velmorant.mirror(rgb, direction="left")
    assert result.shape == (rgb.shape[0], 2 * rgb.shape[1], 3) or result.shape == rgb.shape
    sheared = velmorant.shear(rgb, angle=30)
    assert sheared.shape[0] * sheared.shape[1] > rgb.shape[0] * rgb.shape[1]
    with pytest.raises(ValueError, match="out is"):
        velmorant.shear(rgb, angle=30, out=np.zeros_like(rgb))


#---- Settings and steps

def test_settings_are_written_as_python_people_write_them(rgb):
    expected = velmorant.apply(rgb, "tiles --background '#FF8000' --tile-size 6", seed=5)
    assert np.array_equal(velmorant.tiles(rgb, background=(255, 128, 0), tile_size=np.int64(6), seed=5), expected)
    assert np.array_equal(velmorant.tiles(rgb, background="#FF8000", tile_size=6, seed=np.uint32(5)), expected)
    switched = velmorant.apply(rgb, "ripple --fade off")
    assert np.array_equal(velmorant.ripple(rgb, fade=False), switched)
    assert np.array_equal(velmorant.ripple(rgb, fade=np.bool_(False)), switched)
    kernel = velmorant.kernel("Laplace 3 by 3")
    given = velmorant.filters(rgb, kernel=kernel.elements, divisor=kernel.divisor, bias=kernel.bias,
                              combine_mode=kernel.mode)
    assert np.array_equal(given, velmorant.filters(rgb, kernel="Laplace 3 by 3"))
    assert np.array_equal(velmorant.filters(rgb, kernel=np.array(kernel.elements), divisor=kernel.divisor,
                                            bias=kernel.bias, combine_mode=kernel.mode), given)


def test_steps_follow_each_other(rgb):
    steps = ["wave --amplitude 20", "noise --amount 5 --seed 3"]
    assert np.array_equal(velmorant.apply(rgb, steps),
                          velmorant.noise(velmorant.wave(rgb, amplitude=20), amount=5, seed=3))


def test_a_seed_makes_the_same_picture_again(rgb):
    assert np.array_equal(velmorant.noise(rgb, seed=7), velmorant.noise(rgb, seed=7))
    assert not np.array_equal(velmorant.noise(rgb, seed=7), velmorant.noise(rgb, seed=8))


def test_edges_and_fringe_are_keywords_where_an_effect_takes_them(rgb):
    gone = np.dstack([rgb, random_array(1, seed=9)])
    for keyword, word, picture in (("edges", "wrap", rgb), ("fringe", "as-is", gone)):
        names = [effect.name for effect in velmorant.effects() if getattr(effect, "takes_" + keyword)]
        assert names
        for name in names:
            given = velmorant.apply(picture, name, **{keyword: word})
            assert np.array_equal(given, velmorant.apply(picture, f"{name} --{keyword} {word}"))
            with pytest.raises(ValueError, match=keyword):
                velmorant.apply(picture, name, **{keyword: "nonsense"})
    assert not np.array_equal(velmorant.wave(gone, fringe="as-is"), velmorant.wave(gone))
    assert not np.array_equal(velmorant.filters(rgb, kernel="Gaussian 5 by 5", edges="wrap"),
                              velmorant.filters(rgb, kernel="Gaussian 5 by 5", edges="mirror"))
    with pytest.raises(ValueError):
        velmorant.solarize(rgb, edges="wrap")


def test_pixels_may_be_a_share_of_the_smaller_edge(rgb):
    assert velmorant.effect("blocks")["block_width"].in_pixels
    assert np.array_equal(velmorant.blocks(rgb, block_width="10%"), velmorant.blocks(rgb, block_width=4))


#---- Recipes and presets

def test_a_recipe_is_the_command_lines(rgb, tmp_path):
    PIL.Image.fromarray(rgb).save(tmp_path / "in.png")
    told = command_line("apply", "wave", tmp_path / "in.png", tmp_path / "out.png", "--amplitude", 9, "--then", "noise", "--seed",
                        5, "--save-recipe", tmp_path / "kept.txt")
    assert told.returncode == 0, told.stderr
    steps = velmorant.read_recipe(tmp_path / "kept.txt")
    assert len(steps) == 2
    expected = velmorant.Picture.open(tmp_path / "out.png").array()
    assert np.array_equal(velmorant.apply(rgb, steps), expected)
    velmorant.write_recipe(tmp_path / "ours.txt", steps)
    assert (tmp_path / "ours.txt").read_text() == velmorant.recipe_text(steps)
    told = command_line("apply", tmp_path / "in.png", tmp_path / "again.png", "--recipe", tmp_path / "ours.txt")
    assert told.returncode == 0, told.stderr
    assert (tmp_path / "again.png").read_bytes() == (tmp_path / "out.png").read_bytes()


def test_what_is_wrong_in_a_recipe_is_told_with_its_line(tmp_path):
    with pytest.raises(ValueError, match="line 3: --amplitude: 999"):
        velmorant.parse_recipe("velmorant recipe 1\nnoise\nwave --amplitude 999\n")
    with pytest.raises(ValueError, match="line 1"):
        velmorant.parse_recipe("wave\n")
    with pytest.raises(FileNotFoundError):
        velmorant.read_recipe(tmp_path / "nowhere.txt")
    with pytest.raises(OSError):
        velmorant.write_recipe(tmp_path / "nowhere" / "a.txt", "wave")
    with pytest.raises(ValueError):
        velmorant.recipe_text("wave --amplitude 999")


def test_presets_are_those_of_the_command_line(rgb, tmp_path, monkeypatch):
    monkeypatch.setenv("XDG_CONFIG_HOME", str(tmp_path))
    listed = velmorant.presets()
    assert listed and all(preset.shipped and not preset.fault for preset in listed)
    PIL.Image.fromarray(rgb).save(tmp_path / "in.png")
    for preset in listed[:3]:
        assert np.array_equal(velmorant.apply(rgb, preset.line, seed=7), velmorant.apply(rgb, velmorant.preset(preset.name.upper()).line, seed=7))
    velmorant.save_preset("my waves", "wave --amplitude 17", "for this test")
    kept = velmorant.preset("my waves")
    assert (kept.effect, kept.summary, kept.shipped) == ("wave", "for this test", False)
    told = command_line("apply", tmp_path / "in.png", tmp_path / "out.png", "--preset", "my waves")
    assert told.returncode == 0, told.stderr
    assert np.array_equal(velmorant.apply(rgb, kept.line), velmorant.Picture.open(tmp_path / "out.png").array())
    with pytest.raises(ValueError):
        velmorant.save_preset("my waves", "wave")
    velmorant.save_preset("my waves", "wave", replace=True)
    velmorant.rename_preset("my waves", "theirs")
    with pytest.raises(ValueError, match="my waves"):
        velmorant.preset("my waves")
    velmorant.delete_preset("theirs")
    assert velmorant.presets() == listed


#---- Picture

@pytest.mark.parametrize("kind", TYPES)
@pytest.mark.parametrize("ending", ["png", "tif", "bmp"])
def test_a_picture_is_saved_and_opened(kind, ending, tmp_path):
    picture = picture_of(kind)
    picture.save(tmp_path / f"a.{ending}")
    again = velmorant.Picture.open(tmp_path / f"a.{ending}")
    assert again.type == kind and again.format.startswith(ending[:3])
    assert np.array_equal(again.array(colours=True), picture.array(colours=True))
    with open(tmp_path / "b", "wb") as file:
        picture.save(file, format="png")
    with open(tmp_path / "b", "rb") as file:
        assert same(velmorant.Picture.open(file), picture)


def test_a_picture_keeps_what_its_file_said(tmp_path, rgb):
    picture = velmorant.Picture(rgb, mask=np.full(rgb.shape[:2], 200, np.uint8))
    picture.dpi = (300, 300)
    picture.save(tmp_path / "a.png")
    result = velmorant.wave(velmorant.Picture.open(tmp_path / "a.png"))
    assert round(result.dpi[0]) == 300 and result.mask.type == "grey" and result.array().shape[2] == 4
    del result.mask
    assert result.mask is None and result.array().shape[2] == 3


def test_pages_are_opened_together_or_one_alone(tmp_path, rgb):
    pages = [PIL.Image.fromarray(random_array(3, seed=seed)) for seed in (1, 2, 3)]
    pages[0].save(tmp_path / "three.tif", save_all=True, append_images=pages[1:])
    assert velmorant.Picture.open(tmp_path / "three.tif").pages == 3
    second = velmorant.Picture.open(tmp_path / "three.tif", page=2)
    assert second.pages == 1 and np.array_equal(second.array(), np.asarray(pages[1]))
    data = (tmp_path / "three.tif").read_bytes()
    assert np.array_equal(velmorant.Picture.from_bytes(data, page=3).array(), np.asarray(pages[2]))
    for page in (0, -1, 4):
        with pytest.raises((ValueError, OSError)):
            velmorant.Picture.open(tmp_path / "three.tif", page=page)


def test_a_picture_is_turned_upright_unless_it_is_wanted_as_stored(tmp_path, rgb):
    exif = PIL.Image.Exif()
    exif[0x0112] = 6   # a quarter turn
    PIL.Image.fromarray(rgb).save(tmp_path / "turned.png", exif=exif)
    stored = velmorant.Picture.open(tmp_path / "turned.png", as_stored=True)
    assert np.array_equal(stored.array(), rgb)
    assert np.array_equal(velmorant.Picture.open(tmp_path / "turned.png").array(), np.rot90(rgb, -1))


def test_what_a_file_keeps_is_said_when_it_is_saved(tmp_path, rgb):
    exif = PIL.Image.Exif()
    exif[0x010E] = "a description"
    PIL.Image.fromarray(rgb).save(tmp_path / "in.jpg", exif=exif, dpi=(300, 300))
    picture = velmorant.Picture.open(tmp_path / "in.jpg")
    assert picture.exif and round(picture.dpi[0]) == 300
    picture.save(tmp_path / "some.jpg", strip="metadata")
    some = velmorant.Picture.open(tmp_path / "some.jpg")
    assert not some.exif and round(some.dpi[0]) == 300
    picture.save(tmp_path / "none.png", strip="all")
    assert velmorant.Picture.open(tmp_path / "none.png").dpi == (0, 0)
    assert len(picture.to_bytes("jpeg", quality=20)) < len(picture.to_bytes("jpeg", quality=95))
    with PIL.Image.open(tmp_path / "some.jpg") as plain:
        assert "progressive" not in plain.info
    picture.save(tmp_path / "passes.jpg", progressive=True, subsampling=444)
    with PIL.Image.open(tmp_path / "passes.jpg") as passes:
        assert passes.info["progressive"] and passes.layer[0][1:3] == (1, 1)
    for wrong in ({"strip": "nothing"}, {"quality": 101}, {"subsampling": 421}):
        with pytest.raises(ValueError):
            picture.save(tmp_path / "wrong.jpg", **wrong)
    with pytest.raises(TypeError):
        picture.save(tmp_path / "wrong.jpg", colour="red")
    assert not (tmp_path / "wrong.jpg").exists()


def test_a_png_file_is_packed_as_tight_as_is_asked():
    picture = velmorant.Picture(np.tile(np.arange(200, dtype=np.uint8), (150, 1)))
    quick, small = (picture.to_bytes("png", compression=level) for level in (1, 9))
    assert len(small) < len(quick)
    assert np.array_equal(velmorant.Picture.from_bytes(small).array(), velmorant.Picture.from_bytes(quick).array())
    with pytest.raises(ValueError):
        picture.to_bytes("png", compression=10)


def test_a_file_of_16_bits_is_replaced_only_where_that_is_wanted(tmp_path, rgb):
    PIL.Image.fromarray(random_array(1).astype(np.uint16) * 257).save(tmp_path / "deep.png")
    before = (tmp_path / "deep.png").read_bytes()
    with pytest.warns(velmorant.Notice):
        picture = velmorant.Picture.open(tmp_path / "deep.png")
    assert picture.file_bits == 16
    with pytest.raises((OSError, ValueError)):
        picture.save(tmp_path / "deep.png")
    assert (tmp_path / "deep.png").read_bytes() == before
    picture.save(tmp_path / "deep.png", reduce_depth=True)
    assert velmorant.Picture.open(tmp_path / "deep.png").file_bits == 8


@pytest.mark.parametrize("kind", TYPES)
def test_a_picture_shows_itself_and_travels(kind):
    picture = picture_of(kind)
    picture.mask = picture.array(colours=True)[:, :, 0] if kind != "RGB" else random_array(1)
    assert picture._repr_png_().startswith(b"\x89PNG") and kind in repr(picture)
    assert same(pickle.loads(pickle.dumps(picture)), picture)
    assert picture.image().size == picture.size
    assert np.asarray(picture).shape[:2] == (picture.height, picture.width)


def test_comparing_counts_and_shows(rgb):
    other = rgb.copy()
    other[3, 4] ^= 255
    comparison = velmorant.compare(rgb, other)
    assert comparison.changed == 1 and comparison._repr_html_().count("data:image/png;base64,") == 2
    assert velmorant.compare(rgb, rgb).changed == 0 and velmorant.compare(rgb, rgb[1:]).changed is None
