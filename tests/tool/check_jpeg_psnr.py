#!/usr/bin/python3
"""check_jpeg_psnr.py KOVRA CORPUS_DIR: `kovra decode` of every corpus JPEG that djpeg decodes
cleanly (no warning) against `djpeg -dct fast -nosmooth` at 1/1, 1/2, 1/4 and 1/8, reported per
file as PSNR in dB and the largest channel difference; `--threads 2` must give one thread's bytes
at 1/1 (the host's own tests cover the other scales). Fails when a file kovra refuses is one djpeg decodes, when two threads differ, or
when the largest difference at 1/1 or 1/8 is above 2 (the YCbCr->RGB conversion truncates where
libjpeg-turbo rounds, so a few strongly coloured files sit just under 50 dB: reported, not failed).
At 1/16, 1/32 and 1/64 one photo against djpeg's 1/8 output box-averaged down.
Skips (exit 77) when the corpus or djpeg is absent."""
import math, os, pathlib, shutil, subprocess, sys, tempfile
from PIL import Image, ImageChops, ImageStat

SCALES = (1, 2, 4, 8)
kovra, corpus = sys.argv[1], pathlib.Path(sys.argv[2]) / "jpeg-exif"
if not corpus.is_dir() or shutil.which("djpeg") is None:
    print("corpus or djpeg absent: skipped")
    sys.exit(77)


def djpeg(path, scale, out):
    run = subprocess.run(["djpeg", "-dct", "fast", "-nosmooth", "-scale", f"1/{scale}", "-outfile", out, str(path)],
                         capture_output=True)
    return run.returncode == 0 and not run.stderr


def kovra_decode(path, scale, threads, out_dir):
    run = subprocess.run([kovra, "decode", str(path), "-o", out_dir, "--scale", f"1/{scale}", "--threads", str(threads)],
                         capture_output=True, text=True)
    return run.returncode, run.stderr.strip(), pathlib.Path(out_dir) / (path.stem + ".png")


def compare(ours, theirs):
    a, b = Image.open(ours).convert("RGB"), Image.open(theirs).convert("RGB")
    if a.size != b.size:
        return None, f"size {a.size} against {b.size}"
    diff = ImageChops.difference(a, b)
    mse = sum(ImageStat.Stat(diff).sum2) / (3 * a.size[0] * a.size[1])
    worst = max(high for _, high in diff.getextrema())
    return (math.inf if mse == 0 else 10 * math.log10(255 * 255 / mse), worst), None


# Beyond 1/8 a sample is one block's DC level, and the decoder passes over some blocks and MCU
# rows, so it is a point sample of the 1/8 picture, not its mean: on the corpus PSNR against the
# box-averaged 1/8 output had medians of 23.7, 20.4 and 18.5 dB; this 4:2:0 photo gives 29.9, 26.2
# and 23.1 dB; a luma column shifted by one sample or chroma rows from the wrong place fall under
# these floors (half a dB below).
MORE16_PHOTO, MORE16_FLOOR = "exif-samples/mobile/jolla.jpg", {16: 29.4, 32: 25.7, 64: 22.6}


def check_more16(tmp):
    path, eighth, reduced = corpus / MORE16_PHOTO, os.path.join(tmp, "eighth.pnm"), os.path.join(tmp, "reduced.png")
    if not djpeg(path, 8, eighth):
        return [f"{path}: djpeg failed"]
    problems = []
    for scale, floor in MORE16_FLOOR.items():
        Image.open(eighth).reduce(scale // 8).save(reduced)
        status, message, ours = kovra_decode(path, scale, 1, os.path.join(tmp, "more16"))
        result, problem = compare(ours, reduced) if status == 0 else (None, f"kovra exits {status}: {message}")
        print(f"{MORE16_PHOTO} 1/{scale} against 1/8 box-averaged: " + (problem or f"{result[0]:.2f} dB max {result[1]}"))
        if problem or result[0] < floor:
            problems.append(f"{path}: 1/{scale}: {problem or f'{result[0]:.2f} dB, under {floor}'}")
    return problems


failures, worst_by_scale, files, skipped = [], {s: (math.inf, 0) for s in SCALES}, 0, 0
with tempfile.TemporaryDirectory() as tmp:
    for path in sorted(p for p in corpus.rglob("*") if p.suffix.lower() in (".jpg", ".jpeg")):
        reference = os.path.join(tmp, "reference.pnm")
        if not djpeg(path, 1, reference) or Image.open(reference).mode not in ("L", "RGB"):
            skipped += 1
            continue
        files += 1
        line = [path.relative_to(corpus).as_posix()]
        for scale in SCALES:
            if scale != 1:
                djpeg(path, scale, reference)
            status, message, ours = kovra_decode(path, scale, 1, os.path.join(tmp, "one"))
            if status != 0:
                failures.append(f"{path}: 1/{scale}: kovra exits {status}: {message}")
                break
            result, problem = compare(ours, reference)
            if problem:
                failures.append(f"{path}: 1/{scale}: {problem}")
                break
            psnr, worst = result
            line.append(f"1/{scale} {psnr:6.2f} dB max {worst}")
            worst_by_scale[scale] = (min(worst_by_scale[scale][0], psnr), max(worst_by_scale[scale][1], worst))
            if scale in (1, 8) and worst > 2:
                failures.append(f"{path}: 1/{scale}: largest channel difference {worst}")
            if scale == 1:
                _, _, twice = kovra_decode(path, scale, 2, os.path.join(tmp, "two"))
                if twice.read_bytes() != ours.read_bytes():
                    failures.append(f"{path}: 1/{scale}: two threads differ from one")
        print("  ".join(line))
    failures += check_more16(tmp)
print(f"{files} files ({skipped} skipped: djpeg warns or refuses, or they are not grey or RGB); worst PSNR and largest difference per scale: " +
      ", ".join(f"1/{s} {p:.2f} dB max {w}" for s, (p, w) in worst_by_scale.items()))
for failure in failures:
    print("FAIL", failure)
sys.exit(1 if failures or files == 0 else 0)
