// What stands below each command's options in its help: more of it, and examples. Read by options.cpp alone.

#pragma once

constexpr char rootFooter[] = "Examples:\n"
                              "  velmorant effects                                   which effects there are\n"
                              "  velmorant effects wave                              what the wave can be told\n"
                              "  velmorant apply wave in.png out.png --amplitude 20\n"
                              "  velmorant apply wave in.png out.png --then noise    one effect after the other\n"
                              "  velmorant apply noise - - < in.ppm > out.ppm\n"
                              "  velmorant batch noise --output-folder out *.jpg\n"
                              "  velmorant kernels                                   ready-made kernels for filters\n"
                              "\n"
                              "Pictures are PNG, BMP, TIFF, JPEG, GIF, WebP and PNM files, and keep their type.\n"
                              "\"velmorant apply wave --help\" tells of one effect; docs/command-line.md tells all.";

constexpr char checkFooter[] =
    "Levels, each with those below it:\n"
    "  1  the file: exports, loading, unloading, twice\n"
    "  2  menus, commands, the chooser\n"
    "  3  dialogs: controls, ranges, messages, images that come and go\n"
    "  4  runs: planes, progress, abort, threads, memory\n"
    "  5  undo and scopes: what a host may rely on\n"
    "  6  what a host may refuse: locks, threads, memory\n"
    "  7  messages at random\n"
    "  8  several pictures and threads at once\n"
    "  9  all of it again and again, for an hour\n"
    "  10 pixels against recorded ones, for any number of threads\n"
    "\n"
    "A host's folder holds its VLMAPI and VLMMISC and the program check_driver, which its writer makes.\n"
    "\n"
    "Exit code 0: nothing was found, 1: something was, 2: it cannot be checked. docs/checking.md tells more.\n"
    "\n"
    "Examples:\n"
    "  velmorant check VLMEFF.so\n"
    "  velmorant check VLMEFF.so --level 8 --effect noise --json found.json\n"
    "  velmorant check --host build/release/bin/minimal_host";

constexpr char applyFooter[] = "\"velmorant apply EFFECT --help\" tells an effect's parameters.\n"
                               "\n"
                               "--then goes on with another effect, in memory: a chain is read and written once.\n"
                               "\n"
                               "Examples:\n"
                               "  velmorant apply wave in.png out.png --amplitude 20\n"
                               "  velmorant apply wave in.png out.png --amplitude 20 --then noise --amount 5";

constexpr char batchFooter[] =
    "One bar shows all; a bad file is reported and the rest go on. Exit code 0: all done, 1: some failed.\n"
    "\"velmorant batch EFFECT --help\" tells an effect's parameters.\n"
    "\n"
    "Examples:\n"
    "  velmorant batch wave --output-folder out --amplitude 20 *.png\n"
    "  velmorant batch wave --output-folder out --amplitude 20 --then noise --amount 5 *.png";

constexpr char effectsFooter[] = "Examples:\n"
                                 "  velmorant effects\n"
                                 "  velmorant effects noise\n"
                                 "  velmorant effects --match blur\n"
                                 "  velmorant effects --json";

constexpr char kernelsFooter[] =
    "import FILE [NAME]   keeps a kernel under a name, from ImageMagick, GIMP or a grid; - is standard input\n"
    "export NAME FILE     writes one\n"
    "delete NAME          one of your own\n"
    "\n"
    "Examples:\n"
    "  velmorant kernels\n"
    "  velmorant kernels \"Gaussian 5 by 5\"\n"
    "  velmorant kernels import sharp.txt\n"
    "  velmorant apply filters in.png out.png --kernel \"Gaussian 5 by 5\"";

constexpr char completionFooter[] = "Examples:\n"
                                    "  source <(velmorant completion bash)\n"
                                    "  velmorant completion fish | source";

constexpr char manualFooter[] = "Examples:\n"
                                "  velmorant manual | man -l -\n"
                                "  velmorant manual apply > velmorant-apply.1";

constexpr char sheetFooter[] =
    "velmorant sheet INPUT OUTPUT                   all effects, on a copy of at most 640 pixels\n"
    "velmorant sheet --presets INPUT OUTPUT         all presets\n"
    "velmorant sheet EFFECT INPUT OUTPUT --PARAMETER VALUES\n"
    "  VALUES are 5..50, or 5,10,20, or all of a choice's words; other parameters as with apply\n"
    "velmorant sheet EFFECT INPUT --frames NAME-%03d.png --PARAMETER VALUES\n"
    "\n"
    "--columns N    pictures beside each other\n"
    "--width N      of the sheet, pixels, 200..10000 (default 1600)\n"
    "--count N      pictures of 5..50 (default 12, with --frames 24)\n"
    "--seed N       of all pictures (default 1)\n"
    "--frames FILE  a file for each picture, in full size: its name has %d or %03d for the number;\n"
    "               or all in one: out.gif, out.webp. Frames of an animated input take turns\n"
    "--delay N      of an animation's frames, milliseconds (default: the input's, else 80)\n"
    "--page N       of the input, from 1 (default 1; with --frames all)\n"
    "--quality N, --allow-huge, --quiet  as with apply\n"
    "\n"
    "Examples:\n"
    "  velmorant sheet in.png sheet.png\n"
    "  velmorant sheet wave in.png sheet.png --amplitude 5..50 --columns 4";

constexpr char recipeFooter[] =
    "A recipe is a text file of steps, one a line, in the words of the command line:\n"
    "  velmorant recipe 1\n"
    "  # an old print\n"
    "  noise --amount 40 --variation 25\n"
    "  wave --amplitude 5 --background '#202830'\n"
    "\n"
    "The first line names the format. A # where a word would begin starts a comment, so a\n"
    "colour stands in quotes; words are split as a shell splits them. What is left out has\n"
    "its default. No files are named: pictures, masks and objects are given when it is run.\n"
    "\n"
    "Examples:\n"
    "  velmorant apply --recipe look.recipe in.png out.png\n"
    "  velmorant recipe show look.recipe\n"
    "  velmorant recipe check look.recipe";

constexpr char presetsFooter[] = "EFFECT                             lists those of one effect\n"
                                 "show NAME                          prints one as a recipe\n"
                                 "save NAME EFFECT [--PARAMETER VALUE]...\n"
                                 "rename NAME NEW-NAME\n"
                                 "delete NAME\n"
                                 "import FILE [NAME]                 keeps a recipe of one step\n"
                                 "export NAME FILE                   writes one as a recipe\n"
                                 "\n"
                                 "Examples:\n"
                                 "  velmorant presets\n"
                                 "  velmorant presets save storm wave --amplitude 30\n"
                                 "  velmorant apply in.png out.png --preset storm";
