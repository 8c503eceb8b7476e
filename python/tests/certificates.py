"""Certificates for a broker and those who come to it: certificates.py FOLDER NAME... makes those, `broker` for this machine."""

import pathlib
import subprocess
import sys


class Certificates:
    """Of authorities, and signed by them."""

    def __init__(self, folder: pathlib.Path):
        self.folder = folder
        for name in ("ca", "other-ca"):
            self._run("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                      "-subj", f"/CN={name}", "-keyout", f"{name}.key", "-out", f"{name}.crt")

    def _run(self, *arguments):
        subprocess.run(["openssl", *arguments], cwd=self.folder, check=True, capture_output=True)

    def make(self, name, authority="ca", days=2, hosts=None):
        (self.folder / f"{name}.ext").write_text(
            "basicConstraints=CA:FALSE\n" + (f"subjectAltName={hosts}\n" if hosts else ""))
        self._run("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={name}",
                  "-keyout", f"{name}.key", "-out", f"{name}.csr")
        self._run("x509", "-req", "-in", f"{name}.csr", "-CA", f"{authority}.crt", "-CAkey", f"{authority}.key",
                  "-CAcreateserial", "-days", str(days), "-extfile", f"{name}.ext", "-out", f"{name}.crt")

    def of(self, name, authority="ca"):
        """As qx5.connect takes them."""
        return {"ca": self.folder / f"{authority}.crt", "cert": self.folder / f"{name}.crt",
                "key": self.folder / f"{name}.key"}


if __name__ == "__main__":
    made = Certificates(pathlib.Path(sys.argv[1]))
    for each in sys.argv[2:]:
        made.make(each, hosts="IP:127.0.0.1" if each == "broker" else None)
