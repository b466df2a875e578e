"""The completions that are committed and installed, as builds for other machines cannot run the program."""

import os
import subprocess

from support import Case
import support

COMPLETIONS = os.path.join(os.environ["VEKTRACE_SOURCE"], "tools", "vektrace", "completions")
# A shell finds what completes a command by the place and the name of the file.
FILES = {
    "bash": ("vektrace.bash", "share/bash-completion/completions/vektrace"),
    "zsh": ("_vektrace", "share/zsh/site-functions/_vektrace"),
    "fish": ("vektrace.fish", "share/fish/vendor_completions.d/vektrace.fish"),
}


def content(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class CompletionFiles(Case):
    """The files are committed. VEKTRACE_ACCEPT=1 in the environment writes them anew."""

    def test_are_what_the_program_prints(self):
        texts = {
            name: self.run_program("completion", shell, expect=0).text
            for shell, (name, _) in FILES.items()
        }
        if os.environ.get("VEKTRACE_ACCEPT") == "1":
            os.makedirs(COMPLETIONS, exist_ok=True)
            for name, text in texts.items():
                with open(os.path.join(COMPLETIONS, name), "w", encoding="utf-8") as file:
                    file.write(text)
        self.assertEqual(sorted(os.listdir(COMPLETIONS)), sorted(texts))
        for name, text in texts.items():
            self.assertEqual(content(os.path.join(COMPLETIONS, name)), text, name)

    def test_are_installed_where_each_shell_looks(self):
        done = subprocess.run(
            ["cmake", "--install", os.environ["VEKTRACE_BUILD"], "--prefix", self.path("installed")],
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            timeout=support.PATIENCE,
            check=False,
        )
        self.assertEqual(done.returncode, 0, done.stdout)
        for name, place in FILES.values():
            installed = content(os.path.join(self.path("installed"), place))
            self.assertEqual(installed, content(os.path.join(COMPLETIONS, name)), place)
