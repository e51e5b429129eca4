<?php
$turns = (int)$argv[1];
$text = "The quick brown fox jumps over the lazy dog at sunset";
$total = 0;
for ($i = 0; $i < $turns; $i++)
    $total += strpos($text, "lazy") + 1;
echo $total, "\n";
