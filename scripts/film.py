#!/usr/bin/python3
"""Puts the pictures frame-000.png and so on of a folder together into one moving picture: film.py FOLDER OUT.webp"""
import pathlib
import sys

from PIL import Image

folder, out = pathlib.Path(sys.argv[1]), sys.argv[2]
frames = [Image.open(file).convert("RGB").resize((960, 540), Image.LANCZOS) for file in sorted(folder.glob("frame-*.png"))]
if not frames:
    sys.exit(f"film.py: {folder} holds no frames")
frames[0].save(out, save_all=True, append_images=frames[1:], duration=100, loop=0, quality=35, method=4)
