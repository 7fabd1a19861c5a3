"""The interpreter goes on while an effect runs, hears Ctrl-C, survives forks, and nothing that is handed in ends it."""

import multiprocessing
import os
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import PIL.Image
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import velmorant
from conftest import command_line, random_array

SLOW = "oil-painting"


def slow_picture(side=1500):
    return random_array(3, side, side)


#---- Wrong words

def test_wrong_settings_are_told_in_the_command_lines_words(rgb, tmp_path):
    PIL.Image.fromarray(rgb).save(tmp_path / "in.png")
    for words in (["wave", "--amplitude", "9999"], ["wave", "--amplitud", "3"], ["wave", "--orientation", "colums"],
                  ["wav"], ["noise", "--amount", "much"], ["tiles", "--background", "red"],
                  ["filters", "--kernel", "Mean and Cruel"], ["solarize", "--area", "1,2,3"]):
        with pytest.raises(ValueError) as raised:
            velmorant.apply(rgb, " ".join(f"'{word}'" if " " in word else word for word in words))
        said = command_line("apply", words[0], tmp_path / "in.png", tmp_path / "out.png", *words[1:]).stderr
        assert str(raised.value) in said.replace("\n", " "), words


@pytest.mark.parametrize("call, words", [
    (lambda p: p.save("out.jpg", quality=500), "out.jpg --quality 500"),
    (lambda p: p.save("out.jpg", quality=-1), "out.jpg --quality -1"),
    (lambda p: p.save("out.jpg", quality="fine"), "out.jpg --quality fine"),
    (lambda p: p.to_bytes("jpeg", quality=2.5), "out.jpg --quality 2.5"),
    (lambda p: p.save("out.png", compression=12), "out.png --compression 12"),
    (lambda p: p.save("out.jpg", subsampling=333), "out.jpg --subsampling 333"),
    (lambda p: p.save("a.xyz"), "a.xyz"),
    (lambda p: p.save("a"), "a"),
    (lambda p: p.to_bytes("xyz"), "out.png --format xyz"),
    (lambda p: velmorant.Picture.open("in.png", page=0), "out.png --page 0"),
    (lambda p: velmorant.Picture.open("in.png", page="one"), "out.png --page one"),
    (lambda p: velmorant.Picture.open("in.png", page=9), "out.png --page 9"),
    (lambda p: velmorant.wave(p, area=(1, 2)), "out.png --area 1,2"),
    (lambda p: velmorant.wave(p, area=(1, 2, 3, 0)), "out.png --area 1,2,3x0"),
    (lambda p: velmorant.wave(p, area=(1.5, 2, 3, 4)), "out.png --area 1.5,2,3x4"),
    (lambda p: velmorant.wave(p, area=5), "out.png --area 5"),
    (lambda p: velmorant.wave(p, area="all of it"), ["out.png", "--area", "all of it"]),
    (lambda p: velmorant.wave(p, area=(900, 900, 5, 5)), "out.png --area 900,900,5x5"),
    (lambda p: velmorant.wave(p, seed=-1), "out.png --seed -1"),
    (lambda p: velmorant.wave(p, seed=1.5), "out.png --seed 1.5"),
    (lambda p: velmorant.wave(p, seed="lucky"), "out.png --seed lucky"),
    (lambda p: velmorant.wave(p, amplitude=2.5), "out.png --amplitude 2.5"),
    (lambda p: velmorant.wave(p, edges="round"), "out.png --edges round")], ids=lambda given: str(given)[:40])
def test_words_besides_the_settings_are_refused_in_the_command_lines(call, words, tmp_path, monkeypatch, rgb):
    """A value of another type than an option's is a wrong value too. Nothing is written."""
    monkeypatch.chdir(tmp_path)
    picture = velmorant.Picture(rgb)
    picture.save("in.png")
    with pytest.raises((ValueError, OSError)) as raised:
        call(picture)
    given = words.split() if isinstance(words, str) else words
    outcome = command_line("apply", "wave", "in.png", *given, cwd=tmp_path)
    assert outcome.returncode and str(raised.value) in outcome.stderr, outcome.stderr
    assert os.listdir(tmp_path) == ["in.png"]


@pytest.mark.parametrize("steps", [None, 5, b"wave", {"wave": 1}, [None], [["wave"]], object(), [], "", "  "], ids=repr)
def test_what_is_no_step_is_a_value_error(steps, rgb, tmp_path):
    with pytest.raises(ValueError) as raised:
        velmorant.apply(rgb, steps)
    assert "step" in str(raised.value) and "\n" not in str(raised.value)
    with pytest.raises(ValueError):
        velmorant.recipe_text(steps)


def test_words_that_no_option_has_are_told_in_one_line(rgb):
    picture = velmorant.Picture(rgb)
    for call in (lambda: picture.to_bytes(3), lambda: picture.to_bytes("jpeg", strip="some"),
                 lambda: picture.to_bytes("jpeg", progressive="maybe"), lambda: velmorant.preset(None),
                 lambda: velmorant.parse_recipe(None), lambda: velmorant.wave(rgb, objects=[5]),
                 lambda: velmorant.wave(rgb, objects=[(rgb, 1)]), lambda: velmorant.wave(rgb, objects=[(rgb, 1, 2**40)]),
                 lambda: velmorant.wave(rgb, objects=[(rgb, "left", 2)]), lambda: setattr(picture, "dpi", 5),
                 lambda: velmorant.wave(rgb, mask=rgb[:3]), lambda: velmorant.tiles(rgb, background=(1.5, 2, 3))):
        with pytest.raises(ValueError) as raised:
            call()
        assert str(raised.value) and "\n" not in str(raised.value)
    for nothing in (None, "text"):
        with pytest.raises(TypeError, match="a file's bytes are bytes"):
            velmorant.Picture.from_bytes(nothing)


def test_wrong_keywords_are_value_errors(rgb):
    with pytest.raises(ValueError, match="--amplitud.*did you mean"):
        velmorant.wave(rgb, amplitud=3)
    with pytest.raises(ValueError, match="--amplitude"):
        velmorant.wave(rgb, amplitude=20.5)
    for seed in (-1, 2**32):
        with pytest.raises(ValueError, match="seed"):
            velmorant.noise(rgb, seed=seed)
    with pytest.raises(ValueError, match="single step"):
        velmorant.apply(rgb, ["wave", "noise"], amplitude=3)
    with pytest.raises(ValueError):
        velmorant.apply(rgb, "wave\0--amplitude 3")
    with pytest.raises(AttributeError):
        velmorant.no_such_effect


def test_files_are_os_errors(tmp_path, rgb):
    with pytest.raises(FileNotFoundError, match="missing.png"):
        velmorant.Picture.open(tmp_path / "missing.png")
    (tmp_path / "broken.png").write_bytes(b"\x89PNG\r\n\x1a\n broken")
    with pytest.raises(OSError, match="broken.png"):
        velmorant.Picture.open(tmp_path / "broken.png")
    with pytest.raises(OSError):
        velmorant.Picture(rgb).save(tmp_path / "no" / "folder.png")
    with pytest.raises(OSError):
        velmorant.Picture.from_bytes(b"")
    with pytest.raises(ValueError):
        velmorant.Picture(rgb).save(tmp_path / "a.png", format="xyz")


#---- Wrong pictures

def test_a_picture_that_is_too_large_is_told_its_size():
    """Rows that lie over each other: there is no such memory."""
    pixel = np.zeros((1, 1, 3), np.uint8)
    for shape, told in (((40000, 40000, 3), "40000 x 40000"), ((1, 1000001, 3), "1000001 x 1")):
        with pytest.raises(ValueError, match=f"{told} pixels are more than a picture can have"):
            velmorant.wave(np.lib.stride_tricks.as_strided(pixel, shape, (0, 0, 1)))


@pytest.mark.parametrize("wrong", [None, 7, "text", [[1, 2]], object(), b"bytes", bytearray(9), np.zeros((3, 3)),
                                   np.zeros((3, 3), np.uint16), np.zeros((3, 3), np.int8), np.zeros((3, 3), object),
                                   np.zeros((3, 3), "datetime64[s]"), np.zeros(5, np.uint8), np.uint8(3),
                                   np.zeros((2, 2, 2, 2), np.uint8), np.zeros((2, 2, 5), np.uint8),
                                   np.zeros((2, 2, 0), np.uint8), np.zeros((0, 3), np.uint8), np.zeros((3, 0, 3), np.uint8),
                                   np.zeros((2, 2, 3), bool), PIL.Image.new("CMYK", (3, 3)), PIL.Image.new("F", (3, 3)),
                                   PIL.Image.new("RGB", (0, 3))], ids=lambda wrong: f"{type(wrong).__name__}")
def test_what_is_no_picture_is_told(wrong):
    with pytest.raises((TypeError, ValueError)) as raised:
        velmorant.apply(wrong, "wave")
    assert str(raised.value) and "\n" not in str(raised.value)
    with pytest.raises((TypeError, ValueError)):
        velmorant.Picture(wrong)


def test_a_view_of_more_pixels_than_there_can_be_is_refused_before_it_is_copied():
    for shape in ((2**31, 3), (10**5, 10**6), (2**40, 2), (70000, 70000, 3)):
        with pytest.raises((ValueError, MemoryError)):
            velmorant.apply(np.broadcast_to(np.uint8(0), shape), "wave")


def test_memory_that_must_not_change_does_not(rgb):
    rgb.flags.writeable = False
    velmorant.wave(rgb)
    with pytest.raises(ValueError):
        velmorant.wave(rgb, out=rgb)
    with pytest.raises(ValueError):
        velmorant.wave(rgb, out=np.zeros((5, 5, 3), np.uint8))
    with pytest.raises(ValueError):
        velmorant.wave(rgb, out=np.zeros(rgb.shape[:2], np.uint8))
    with pytest.raises(TypeError):
        velmorant.wave(rgb, out=np.zeros(rgb.shape, np.float32))
    row = np.zeros((1,) + rgb.shape[1:], np.uint8)
    with pytest.raises(ValueError):
        velmorant.wave(rgb, out=np.lib.stride_tricks.as_strided(row, rgb.shape, (0,) + row.strides[1:]))


shapes = st.lists(st.integers(0, 9), min_size=0, max_size=4)
texts = st.text(max_size=30) | st.sampled_from(["wave", "noise --seed 4", "filters --kernel", "mirror", "shear --angle 3"])
values = st.none() | st.booleans() | st.integers() | st.floats() | st.text(max_size=9) | st.binary(max_size=9) | \
    st.lists(st.integers(-999, 999), max_size=50)


@settings(max_examples=150, deadline=None, suppress_health_check=list(HealthCheck))
@given(shape=shapes, dtype=st.sampled_from(["u1", "?", "i4", "f8", "S3", "O"]), step=texts,
       keywords=st.dictionaries(st.sampled_from(["amplitude", "amount", "seed", "area", "mask", "out", "x y", "kernel",
                                                 "progress", "objects", "scope"]), values, max_size=3),
       flip=st.integers(-3, 3).filter(bool))
def test_whatever_is_handed_in_ends_in_a_picture_or_an_exception(shape, dtype, step, keywords, flip):
    array = np.zeros(shape, dtype)
    if array.ndim:
        array = array[::flip]
    try:
        result = velmorant.apply(array, step, **keywords)
    except (TypeError, ValueError, OSError, OverflowError):
        return
    assert result.dtype == array.dtype and result.ndim == array.ndim


@settings(max_examples=60, deadline=None)
@given(data=st.binary(max_size=300), head=st.sampled_from([b"", b"\x89PNG\r\n\x1a\n", b"BM", b"II*\0", b"P6 3 3 255\n",
                                                           b"\xff\xd8\xff"]))
def test_whatever_bytes_are_opened_end_in_a_picture_or_an_os_error(data, head):
    try:
        assert velmorant.Picture.from_bytes(head + data).width > 0
    except (OSError, MemoryError):
        pass


#---- Progress and ends

def shares_told(steps, sides):
    """How many reports come is the machine's to say: one that has much else to do needs a longer run to tell of its middle."""
    shares, threads = [], set()

    def progress(share):
        shares.append(share)
        threads.add(threading.get_ident())
    for side in sides:
        shares.clear()
        velmorant.apply(slow_picture(side), steps, progress=progress)
        assert shares == sorted(shares) and shares[0] == 0.0 and shares[-1] == 1.0
        if len(set(shares)) > 2:
            break
    return shares, threads


def test_progress_tells_shares_in_the_calling_thread():
    shares, threads = shares_told(["wave", SLOW], (400, 1500, 3000, 6000))
    assert len(set(shares)) > 2
    assert threads == {threading.get_ident()}


def test_progress_tells_how_far_a_single_step_is():
    shares, _ = shares_told(SLOW, (1500, 3000, 6000))
    assert len(set(shares)) > 2


def test_progress_can_abort_and_throw(rgb):
    before = rgb.copy()
    with pytest.raises(velmorant.Aborted):
        velmorant.wave(rgb, progress=lambda share: False, out=rgb)
    with pytest.raises(ZeroDivisionError):
        velmorant.wave(rgb, progress=lambda share: 1 / 0, out=rgb)
    assert np.array_equal(rgb, before)
    with pytest.raises(TypeError):
        velmorant.wave(rgb, progress=5)


def test_progress_may_apply_effects_itself(rgb):
    inner = []
    velmorant.wave(rgb, progress=lambda share: inner.append(velmorant.solarize(rgb)))
    assert inner and np.array_equal(inner[0], velmorant.solarize(rgb))


def run_python(text, *words, **more):
    return subprocess.Popen([sys.executable, "-c", text, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                            **more)


INTERRUPTED = """
import os, signal, sys, threading, time, numpy as np, velmorant
picture = np.random.default_rng(1).integers(0, 256, (4000, 4000, 3), np.uint8)
pressed = []

def press():
    time.sleep(0.5)
    pressed.extend((time.monotonic(), time.process_time()))
    os.kill(os.getpid(), signal.SIGINT)

threading.Thread(target=press).start()
try:
    velmorant.apply(picture, [sys.argv[1]] * 200)
except KeyboardInterrupt:
    print(time.monotonic() - pressed[0], time.process_time() - pressed[1])
print(velmorant.wave(picture[:9, :9]).shape)
"""


@pytest.mark.parametrize("effect", ["oil-painting", "wave", "swirl"])
def test_ctrl_c_ends_a_run_within_a_tenth_of_a_second_and_the_interpreter_goes_on(effect):
    """Counted in the work that the process still does, since on a busy machine it waits for its turn: one thread can do
    no more than a tenth of a second's within a tenth of a second. Left alone, the run would go on for minutes."""
    waits = []
    while len(waits) < 3 or (min(waits) >= 0.1 and len(waits) < 8):
        child = run_python(INTERRUPTED, effect, env=dict(os.environ, VELMORANT_THREADS="1"))
        told, errors = child.communicate(timeout=120)
        assert child.returncode == 0 and told.endswith("\n(9, 9, 3)\n"), errors
        waited, worked = map(float, told.splitlines()[0].split())
        assert worked < 0.1
        waits.append(waited)
    assert min(waits) < 1.0, waits


DAEMON = """
import threading, time, numpy as np, velmorant
picture = np.zeros((3000, 3000, 3), np.uint8)
threading.Thread(target=velmorant.apply, args=(picture, ["oil-painting"] * 20), daemon=True).start()
time.sleep(0.5)
"""


def test_the_interpreter_ends_while_a_daemon_thread_is_in_a_run():
    child = run_python(DAEMON)
    assert child.wait(20) == 0, child.stderr.read()


def test_an_import_starts_no_thread():
    text = "import os, velmorant; print(len(os.listdir('/proc/self/task')))"
    assert run_python(text).communicate()[0] == "1\n"


#---- Threads and processes

def test_threads_work_side_by_side_and_alike():
    pictures = [random_array(3, 200, 300, seed) for seed in range(8)]
    expected = [velmorant.noise(picture, seed=7) for picture in pictures]
    results = [None] * len(pictures)

    def work(i):
        for _ in range(5):
            results[i] = velmorant.noise(pictures[i], seed=7)
    threads = [threading.Thread(target=work, args=(i,)) for i in range(len(pictures))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(np.array_equal(result, good) for result, good in zip(results, expected))


def test_python_goes_on_during_a_run():
    picture, beats, over = slow_picture(), [], threading.Event()
    thread = threading.Thread(target=lambda: (velmorant.apply(picture, SLOW), over.set()))
    thread.start()
    while not over.wait(0.01):
        beats.append(time.monotonic())
    thread.join()
    assert len(beats) > 5


def test_threads_may_share_a_picture():
    picture, faults = velmorant.Picture(random_array(3, 300, 300)), []

    def work():
        try:
            for _ in range(10):
                velmorant.wave(picture)
                picture.to_bytes("png")
                picture.mask = None
        except Exception as fault:   # noqa: BLE001: any is a failure of the test
            faults.append(fault)
    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not faults


def _in_child(seed):
    return velmorant.noise(random_array(3), seed=seed).tobytes()


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_pools_of_processes_work_after_the_parent_has(method, rgb):
    expected = [_in_child(seed) for seed in range(4)]
    with multiprocessing.get_context(method).Pool(2) as pool:
        assert pool.map_async(_in_child, range(4)).get(60) == expected


def test_a_fork_in_mid_run_is_told_of_and_does_not_hang():
    thread = threading.Thread(target=velmorant.apply, args=(slow_picture(), [SLOW] * 3))
    thread.start()
    time.sleep(0.2)
    child = os.fork()
    if child == 0:
        try:
            velmorant.wave(random_array(3))
            os._exit(0)
        except velmorant.Forked:
            os._exit(0)
        except BaseException:   # noqa: BLE001
            os._exit(1)
    thread.join()
    for _ in range(300):
        pid, status = os.waitpid(child, os.WNOHANG)
        if pid:
            assert status == 0
            return
        time.sleep(0.1)
    os.kill(child, signal.SIGKILL)
    raise AssertionError("the child hung")
