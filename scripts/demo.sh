#!/usr/bin/env bash
# Sets up, builds the orvel program and runs its main job, a search of the documents in
# examples/ (text, Markdown notes, web pages in six encodings, feeds, and a folder's Finder
# comments), then a few of its other commands.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target orvel >/dev/null
orvel=build/release/tools/orvel/orvel

echo "== orvel search 'dignity OR Würde OR dignité' examples"
"$orvel" search --snippet-chars 100 'dignity OR Würde OR dignité' examples
echo "== orvel search -l 'freedom NEAR/4 expression' examples"
"$orvel" search -l 'freedom NEAR/4 expression' examples
echo "== orvel search --wildcard --json 'caf* -kahvehane' examples/notes"
"$orvel" search --wildcard --json 'caf* -kahvehane' examples/notes
echo "== orvel search 'library OR библиотека OR biblioteka OR bibliothèque' examples/pages"
"$orvel" search 'library OR библиотека OR biblioteka OR bibliothèque' examples/pages
# Japanese and Chinese run their words together: a pattern finds a word inside the run.
echo "== orvel search --wildcard '*図書館* OR *图书馆*' examples/pages"
"$orvel" search --wildcard '*図書館* OR *图书馆*' examples/pages
echo "== orvel search --json 'paszport OR паспорт OR encyclopédies' examples/pages"
"$orvel" search --json 'paszport OR паспорт OR encyclopédies' examples/pages
# Feeds are searched as the text of their items, whatever their extension.
echo "== orvel search 'maps OR карты OR reliure' examples/feeds"
"$orvel" search 'maps OR карты OR reliure' examples/feeds
echo "== orvel feed items --base https://library.example/ examples/feeds/library-news.rss"
"$orvel" feed items --base https://library.example/ examples/feeds/library-news.rss
echo "== orvel feed items --json examples/feeds/bibliotheque.rdf (first item)"
"$orvel" feed items --json examples/feeds/bibliotheque.rdf | head -n 1
echo "== orvel html links --json examples/pages/fr-utf8.xhtml"
"$orvel" html links --json examples/pages/fr-utf8.xhtml
# Files are found by their Finder comments too, kept in the folder's .DS_Store.
echo "== orvel search --comments 'Shift_JIS OR hours' examples/pages"
"$orvel" search --comments 'Shift_JIS OR hours' examples/pages
echo "== orvel comment examples/pages/pl-iso-8859-2.html examples/pages/zh-gb2312.html"
"$orvel" comment examples/pages/pl-iso-8859-2.html examples/pages/zh-gb2312.html
echo "== orvel dsstore ls examples/pages (first four records)"
"$orvel" dsstore ls examples/pages | head -n 4
# TextBundles and TextPacks are searched as one document each.
echo "== orvel search 'ferry OR lighthouse' examples/notes"
"$orvel" search 'ferry OR lighthouse' examples/notes
echo "== orvel textbundle text examples/notes/Recipes.textpack"
"$orvel" textbundle text examples/notes/Recipes.textpack
echo "== orvel lang examples/udhr/de.txt examples/udhr/el.txt examples/udhr/tr.txt"
"$orvel" lang examples/udhr/de.txt examples/udhr/el.txt examples/udhr/tr.txt
echo "== orvel search -l --lang FR 'droits OR rights OR Rechte' examples/udhr"
"$orvel" search -l --lang FR 'droits OR rights OR Rechte' examples/udhr
echo "== orvel html charset examples/pages/ja-shift_jis.html"
"$orvel" html charset examples/pages/ja-shift_jis.html
echo "== orvel html text --only-body --google-tags examples/pages/pl-iso-8859-2.html"
"$orvel" html text --only-body --google-tags examples/pages/pl-iso-8859-2.html
echo "== orvel query --format tree '\"human rights\" (liberté OR libertad) -esclavage'"
"$orvel" query --format tree '"human rights" (liberté OR libertad) -esclavage'
echo "== orvel count examples/udhr/de.txt"
"$orvel" count examples/udhr/de.txt
echo "== orvel sha1 examples/udhr/*.txt (first three)"
"$orvel" sha1 examples/udhr/de.txt examples/udhr/el.txt examples/udhr/ru.txt
