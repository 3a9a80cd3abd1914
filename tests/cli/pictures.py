"""An independent writer and reader of picture files, for velhost_test.sh.

pictures.py make            writes the pictures of the tests into this folder
pictures.py FILE FACT...    prints what Pillow makes of a file
"""
import struct
import sys
import zlib

from PIL import Image, ImageCms, PngImagePlugin


def make():
    sample = Image.open("sample.png")
    plain = sample.convert("RGB")
    profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
    exif = Image.Exif()
    exif.update({0x0112: 6, 0x010F: "Maker", 0x829A: 0.5})
    beside = {"dpi": (300, 240), "icc_profile": profile, "exif": exif}
    plain.save("photo.jpg", quality=83, progressive=True, subsampling=1, **beside)
    plain.save("scan.png", **beside)
    plain.save("low.jpg", quality=30, progressive=True)
    plain.convert("L").save("grey.jpg", quality=70)
    plain.convert("CMYK").save("ink.jpg", quality=95)
    gamma = PngImagePlugin.PngInfo()
    gamma.add(b"gAMA", struct.pack(">I", 100000))
    plain.save("linear.png", pnginfo=gamma)
    plain.convert("P").save("palette.png", transparency=3)
    plain.convert("1").save("bits.png")
    plain.convert("L").save("key.png", transparency=plain.convert("L").getpixel((9, 9)))
    Image.new("RGBA", (4, 4), (255, 0, 0, 0)).save("clear.png")
    for name in ("a.tif", "a.gif", "a.webp"):
        plain.save(name)


def facts(path):
    image = Image.open(path)
    image.load()
    info, exif = image.info, dict(image.getexif())
    dpi = info.get("dpi")
    light = image.convert("RGB").resize((1, 1), Image.BOX).getpixel((0, 0))
    return {
        "size": image.size,
        "mode": image.mode,
        "pixels": zlib.crc32(image.convert("RGBA").tobytes()),
        "light": [channel // 8 for channel in light],
        "corner": image.convert("RGB").getpixel((0, 0)),
        "icc": zlib.crc32(info.get("icc_profile", b"")),
        "dpi": dpi and [round(each) for each in dpi],
        "gamma": info.get("gamma"),
        "held": exif.pop(0x0112, None),
        "exif": exif,
        "coding": [getattr(image, "quantization", None), getattr(image, "layer", None),
                   info.get("progressive")],
    }


if sys.argv[1] == "make":
    make()
else:
    known = facts(sys.argv[1])
    print(*(known[fact] for fact in sys.argv[2:]))
