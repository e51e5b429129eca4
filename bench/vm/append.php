<?php
$rounds = (int)$argv[1];
for ($round = 0; $round < $rounds; $round++) {
    $text = "";
    for ($i = 0; $i < 1000000; $i++)
        $text .= "ten bytes\n";
    echo $text;
}
